#include "urlrunscanner.h"

#include <QChar>

namespace tools::url
{

namespace
{

constexpr qsizetype none = -1;
constexpr int maxLabelLength = 63; // RFC 1035
constexpr int maxPortLength = 5;

bool IsDigit(char32_t value)
{
    return value >= U'0' && value <= U'9';
}

bool IsSchemeLetter(char32_t value)
{
    // Without regard to case, the long s and the Kelvin sign are the letters "s" and "k".
    return (value >= U'a' && value <= U'z') || (value >= U'A' && value <= U'Z') || value == 0x17F ||
           value == 0x212A;
}

bool IsSchemeCharacter(char32_t value)
{
    return IsSchemeLetter(value) || IsDigit(value) || value == U'+' || value == U'-';
}

/// A match neither starts behind such a character nor ends before one.
bool IsTokenCharacter(char32_t value)
{
    return QChar::isLetterOrNumber(value) || value == U'@' || value == U'_' || value == U'-';
}

} // namespace

RunScanner::RunScanner(QStringView run_)
    : run{run_}
{}

bool RunScanner::Next(UrlCandidate& candidate)
{
    while (position < run.size()) {
        const CodePoint first = At(position);
        if (!afterToken && QChar::isLetterOrNumber(first.value)) {
            candidate = UrlCandidate{};
            candidate.start = position;
            if (MatchScheme(candidate) || MatchHost(candidate)) {
                position += candidate.length;
                afterToken = true; // a match ends in a letter or digit, or with the run
                return true;
            }
        }
        afterToken = IsTokenCharacter(first.value);
        position += first.size;
    }
    return false;
}

RunScanner::CodePoint RunScanner::At(qsizetype index) const
{
    const QChar unit = run.at(index);
    if (unit.isHighSurrogate() && index + 1 < run.size() && run.at(index + 1).isLowSurrogate()) {
        return {QChar::surrogateToUcs4(unit, run.at(index + 1)), 2};
    }
    return {unit.unicode(), 1};
}

bool RunScanner::IsInsideToken(qsizetype index) const
{
    return index < run.size() && IsTokenCharacter(At(index).value);
}

bool RunScanner::MatchScheme(UrlCandidate& candidate)
{
    if (!IsSchemeLetter(run.at(position).unicode())) {
        return false;
    }
    // One look serves every start in the same run of characters ("a+a+a+...").
    if (schemeEnd <= position) {
        schemeEnd = position;
        while (schemeEnd < run.size() && IsSchemeCharacter(run.at(schemeEnd).unicode())) {
            ++schemeEnd;
        }
    }
    const QStringView rest = run.mid(schemeEnd);
    if (rest.size() < 2 || rest.front() != u':') {
        return false;
    }
    const QLatin1String authorityMark("://");
    candidate.hasAuthority = rest.startsWith(authorityMark) && rest.size() > authorityMark.size();
    candidate.scheme = run.mid(position, schemeEnd - position);
    candidate.length = run.size() - position;
    return true;
}

bool RunScanner::MatchHost(UrlCandidate& candidate) const
{
    qsizetype hostEnd = none;
    qsizetype matchEnd = none;
    qsizetype label = position;
    for (qsizetype end = LabelEnd(label); end != none; end = LabelEnd(label)) {
        const bool hasDotBefore = label > position;
        const bool hasDotBehind = end < run.size() && run.at(end) == u'.';
        const qsizetype endHere = !hasDotBefore ? none : hasDotBehind ? end : HostMatchEnd(end);
        if (endHere != none) {
            hostEnd = end;
            matchEnd = endHere;
        }
        if (!hasDotBehind) {
            break;
        }
        label = end + 1;
    }
    if (hostEnd == none) {
        return false;
    }
    candidate.host = run.mid(position, hostEnd - position);
    candidate.length = matchEnd - position;
    return true;
}

/// Where the label ends that begins at `begin`, or none if there is no label as a whole.
qsizetype RunScanner::LabelEnd(qsizetype begin) const
{
    qsizetype end = begin;
    int length = 0;
    char32_t last = U'-';
    while (end < run.size()) {
        const CodePoint next = At(end);
        const bool isHyphen = next.value == U'-';
        if (!isHyphen && !QChar::isLetterOrNumber(next.value)) {
            break;
        }
        if ((isHyphen && length == 0) || length == maxLabelLength) {
            return none;
        }
        last = next.value;
        end += next.size;
        ++length;
    }
    return last == U'-' ? none : end;
}

/// Where the match ends whose host ends at `hostEnd`, not before a dot, or none if it may not end there.
qsizetype RunScanner::HostMatchEnd(qsizetype hostEnd) const
{
    qsizetype portEnd = hostEnd;
    if (hostEnd < run.size() && run.at(hostEnd) == u':') {
        qsizetype end = hostEnd + 1;
        while (end < run.size() && IsDigit(run.at(end).unicode()) && end - hostEnd <= maxPortLength + 1) {
            ++end;
        }
        const qsizetype digits = end - hostEnd - 1;
        if (digits > 0 && digits <= maxPortLength) {
            portEnd = end;
        }
    }
    for (const qsizetype end : {portEnd, hostEnd}) {
        if (end < run.size() && run.at(end) == u'/') {
            return run.size();
        }
        if (!IsInsideToken(end)) {
            return end;
        }
    }
    return none;
}

} // namespace tools::url
