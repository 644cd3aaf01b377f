#pragma once

#include <cstddef>

namespace common::logger::detail
{

/// A function name of static lifetime, cut out of a compiler's signature text when the program is compiled.
template<std::size_t size>
struct FunctionNameText
{
    char text[size] = {};
};

constexpr bool StartsWith(const char* text, const char* prefix)
{
    for (; *prefix != '\0'; ++text, ++prefix) {
        if (*text != *prefix) {
            return false;
        }
    }
    return true;
}

constexpr const char* SkipOperatorName(const char* text)
{
    constexpr std::size_t keywordLength = sizeof("operator") - 1;
    text += keywordLength;
    if (StartsWith(text, "()")) {
        return text + 2;
    }
    while (*text != '\0' && *text != '(') {
        ++text;
    }
    return text;
}

/// Finds where the qualified name ends: at the parameter list, or at the lambda that LOG_MESSAGE stands in.
constexpr const char* FunctionNameEnd(const char* text)
{
    constexpr const char* unnamedNamespace = "(anonymous namespace)";
    constexpr std::size_t unnamedNamespaceLength = sizeof("(anonymous namespace)") - 1;
    int templateDepth = 0;
    bool atNameStart = true;
    while (*text != '\0') {
        if (StartsWith(text, unnamedNamespace)) {
            text += unnamedNamespaceLength;
            continue;
        }
        if (templateDepth == 0 && atNameStart && StartsWith(text, "operator")) {
            return SkipOperatorName(text);
        }
        if (templateDepth == 0 && (*text == '(' || StartsWith(text, "::<lambda"))) {
            return text;
        }
        if (*text == '<') {
            ++templateDepth;
        } else if (*text == '>') {
            --templateDepth;
        }
        atNameStart = *text == ':';
        ++text;
    }
    return text;
}

/**
 * Reduces the signature of a lambda, as the compiler prints it, to the qualified name of the function around
 * it: "common::Shell::TempPath(const QString&)::<lambda()>" becomes "common::Shell::TempPath".
 *
 * Works on the texts of GCC, Clang and MSVC.
 */
template<std::size_t size>
constexpr FunctionNameText<size> EnclosingFunctionName(const char (&signature)[size])
{
    const char* begin = signature;
    if (StartsWith(begin, "auto ")) {
        begin += sizeof("auto ") - 1;
    }
    const char* const end = FunctionNameEnd(begin);

    FunctionNameText<size> name;
    std::size_t length = 0;
    for (const char* source = begin; source != end; ++source) {
        name.text[length] = *source;
        ++length;
    }
    return name;
}

} // namespace common::logger::detail

#if defined(_MSC_VER) && !defined(__clang__)
#define VXCOMMON_SIGNATURE __FUNCTION__
#else
#define VXCOMMON_SIGNATURE __PRETTY_FUNCTION__
#endif

/// The qualified name of the function that this stands in, as a const char* of static lifetime; costs nothing
/// at run time.
#define VXCOMMON_FUNCTION_NAME                                                                               \
    ([]() -> const char* {                                                                                   \
        static constexpr auto vxcommonFunctionName =                                                         \
            ::common::logger::detail::EnclosingFunctionName(VXCOMMON_SIGNATURE);                             \
        return vxcommonFunctionName.text;                                                                    \
    }())
