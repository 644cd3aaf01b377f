#pragma once

#include <common/vxcommon_export.h>

#include <cstddef>

namespace common::logger::detail
{

/**
 * Extracts the qualified name of the enclosing function from the signature of a lambda: "a::B::F" from
 * "a::B::F(int)::<lambda()>". Supports the signatures of GCC, Clang and MSVC.
 *
 * @param signature null-terminated
 * @param name buffer with room for the whole signature
 */
VXCOMMON_EXPORT void CopyEnclosingFunctionName(const char* signature, char* name);

/// The name extracted from a signature of `size` bytes, including the terminator.
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
