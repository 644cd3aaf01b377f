#pragma once

#include <common/vxcommon_export.h>

#include <cstddef>

namespace common::logger::detail
{

/**
 * Copies the qualified name of the function around a lambda out of the lambda's signature: from
 * "a::B::F(int)::<lambda()>" that is "a::B::F". Reads the signatures that GCC, Clang and MSVC print.
 *
 * @param signature null-terminated
 * @param name has room for the whole signature
 */
VXCOMMON_EXPORT void CopyEnclosingFunctionName(const char* signature, char* name);

/// The name that is cut out of a signature with `size` characters.
template<std::size_t size>
struct FunctionName
{
    explicit FunctionName(const char* signature) { CopyEnclosingFunctionName(signature, text); }

    char text[size] = {};
};

} // namespace common::logger::detail

#if defined(_MSC_VER) && !defined(__clang__)
#define VXCOMMON_SIGNATURE __FUNCTION__
#else
#define VXCOMMON_SIGNATURE __PRETTY_FUNCTION__
#endif

/// The qualified name of the enclosing function as a const char* of static lifetime.
#define VXCOMMON_FUNCTION_NAME                                                                               \
    ([]() -> const char* {                                                                                   \
        static const ::common::logger::detail::FunctionName<sizeof(VXCOMMON_SIGNATURE)> vxcommonName(        \
            VXCOMMON_SIGNATURE);                                                                             \
        return vxcommonName.text;                                                                            \
    }())
