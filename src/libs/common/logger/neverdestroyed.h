#pragma once

namespace common::logger
{

/// Stores an object whose destructor never runs, so that other destructors can still use the object at exit.
template<typename Type>
union NeverDestroyed {
    constexpr NeverDestroyed()
        : value()
    {}
    ~NeverDestroyed() {} // NOLINT(modernize-use-equals-default): a defaulted destructor would be deleted

    Type value;
};

} // namespace common::logger
