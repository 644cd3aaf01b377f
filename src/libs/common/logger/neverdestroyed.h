#pragma once

namespace common::logger
{

/// Storage of an object whose destructor never runs, so that destructors which run at exit can still use it.
template<typename Type>
union NeverDestroyed {
    constexpr NeverDestroyed()
        : value()
    {}
    ~NeverDestroyed() {} // NOLINT(modernize-use-equals-default): a defaulted one would be deleted

    Type value;
};

} // namespace common::logger
