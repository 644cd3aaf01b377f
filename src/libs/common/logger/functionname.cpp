#include <common/logger/functionname.h>

#include <string_view>

namespace common::logger::detail
{

namespace
{

constexpr std::string_view operatorKeyword = "operator";
constexpr std::string_view operatorSymbols = "<>=!+-*/%^&|~,[] ";

bool StartsWith(std::string_view text, std::string_view prefix)
{
    return text.substr(0, prefix.size()) == prefix;
}

bool IsLetter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           character == '_';
}

std::size_t NameLength(std::string_view text);

/// Returns the length of an operator's name, whose symbol may consist of characters that end other names.
std::size_t OperatorNameLength(std::string_view text)
{
    std::size_t position = text.find_first_not_of(' ', operatorKeyword.size());
    if (StartsWith(text.substr(position), "()")) {
        return position + 2;
    }
    if (!IsLetter(text[position])) {
        position = text.find_first_not_of(operatorSymbols, position);
    }
    return position == std::string_view::npos ? text.size() : position + NameLength(text.substr(position));
}

bool IsOperatorName(std::string_view text)
{
    return StartsWith(text, operatorKeyword) &&
           text.find_first_not_of(' ', operatorKeyword.size()) != std::string_view::npos &&
           !IsLetter(text[operatorKeyword.size()]);
}

/// Returns the length of the qualified name at the start of `text`, up to the parameter list or the lambda.
std::size_t NameLength(std::string_view text)
{
    constexpr std::string_view unnamedNamespace = "(anonymous namespace)";
    int templateDepth = 0;
    std::size_t position = 0;
    while (position < text.size()) {
        const std::string_view rest = text.substr(position);
        if (StartsWith(rest, unnamedNamespace)) {
            position += unnamedNamespace.size();
            continue;
        }
        if (templateDepth <= 0) {
            if (rest.front() == '(' || StartsWith(rest, "::<lambda")) {
                break;
            }
            if ((position == 0 || text[position - 1] == ':') && IsOperatorName(rest)) {
                return position + OperatorNameLength(rest);
            }
        }
        templateDepth += rest.front() == '<' ? 1 : rest.front() == '>' ? -1 : 0;
        ++position;
    }
    return position;
}

} // namespace

void CopyEnclosingFunctionName(const char* signature, char* name)
{
    constexpr std::string_view deducedType = "auto ";
    std::string_view text = signature;
    if (StartsWith(text, deducedType)) {
        text.remove_prefix(deducedType.size());
    }
    name[text.copy(name, NameLength(text))] = '\0';
}

} // namespace common::logger::detail
