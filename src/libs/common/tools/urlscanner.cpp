#include "urlscanner.h"

#include <QChar>

namespace tools::url
{

namespace
{

constexpr qsizetype none = -1;
constexpr int maxLabelLength = 63; // RFC 1035
constexpr int maxPortLength = 5;

struct CodePoint
{
    char32_t value;
    qsizetype size; ///< In UTF-16 units.
};

CodePoint CodePointAt(QStringView text, qsizetype index)
{
    const QChar unit = text.at(index);
    if (unit.isHighSurrogate() && index + 1 < text.size() && text.at(index + 1).isLowSurrogate()) {
        return {QChar::surrogateToUcs4(unit, text.at(index + 1)), 2};
    }
    return {unit.unicode(), 1};
}

bool IsDigit(char16_t unit)
{
    return unit >= u'0' && unit <= u'9';
}

bool IsAsciiLetter(char16_t unit)
{
    return (unit | 0x20) >= u'a' && (unit | 0x20) <= u'z';
}

bool IsSchemeLetter(char16_t unit)
{
    // If case is ignored, the long s and the Kelvin sign equal the letters "s" and "k".
    return IsAsciiLetter(unit) || unit == 0x17F || unit == 0x212A;
}

bool IsSchemeCharacter(char16_t unit)
{
    return IsSchemeLetter(unit) || IsDigit(unit) || unit == u'+' || unit == u'-';
}

/// Returns whether no match can start after the character or end before it.
bool IsTokenCharacter(char32_t value)
{
    return QChar::isLetterOrNumber(value) || value == U'@' || value == U'_' || value == U'-';
}

/// Returns whether the unit is white space, "<" or ">".
bool EndsRun(char16_t unit)
{
    if (unit < 0x80) {
        return unit == u' ' || (unit >= u'\t' && unit <= u'\r') || unit == u'<' || unit == u'>';
    }
    if (unit < 0x1680) {
        return unit == 0x85 || unit == 0xA0;
    }
    return unit == 0x1680 || unit == 0x180E || (unit >= 0x2000 && unit <= 0x200A) || unit == 0x2028 ||
           unit == 0x2029 || unit == 0x202F || unit == 0x205F || unit == 0x3000;
}

} // namespace

UrlScanner::UrlScanner(QStringView text_)
    : text{text_}
{}

bool UrlScanner::Next(UrlCandidate& candidate)
{
    do {
        while (position < run.size()) {
            const CodePoint first = CodePointAt(run, position);
            const bool isTokenCharacter = IsTokenCharacter(first.value);
            const bool canStart = isTokenCharacter && !isInsideToken;
            isInsideToken = isTokenCharacter;
            if (canStart && (MatchScheme(candidate) || (position >= hostStart && MatchHost(candidate)))) {
                position += candidate.length; // A match ends at a letter, a digit or the end of the run.
                return true;
            }
            position += first.size;
        }
    } while (NextRun());
    return false;
}

/// Moves to the next run that can contain a link: a run with a letter, and with a dot or colon before its
/// last character.
bool UrlScanner::NextRun()
{
    qsizetype start = run.size();
    qsizetype firstMark = none;
    bool hasLetter = false;
    for (qsizetype i = start; i <= text.size(); ++i) {
        const char16_t unit = i < text.size() ? text.at(i).unicode() : u' ';
        if (EndsRun(unit)) {
            if (hasLetter && firstMark != none && firstMark < i - 1) {
                run = text.left(i);
                position = start;
                isInsideToken = false;
                return true;
            }
            start = i + 1;
            firstMark = none;
            hasLetter = false;
        } else if (unit == u'.' || unit == u':') {
            firstMark = firstMark == none ? i : firstMark;
        } else {
            hasLetter = hasLetter || unit >= 0x80 || IsAsciiLetter(unit);
        }
    }
    return false;
}

bool UrlScanner::MatchScheme(UrlCandidate& candidate)
{
    if (!IsSchemeLetter(run.at(position).unicode())) {
        return false;
    }
    // Search only once for all start positions in the same sequence ("a+a+a+...").
    if (schemeEnd <= position) {
        schemeEnd = position;
        for (; schemeEnd < run.size() && IsSchemeCharacter(run.at(schemeEnd).unicode()); ++schemeEnd) {
            hostStart = run.at(schemeEnd) == u'+' ? schemeEnd : hostStart;
        }
    }
    if (schemeEnd + 1 >= run.size() || run.at(schemeEnd) != u':') {
        return false;
    }
    const QStringView authorityMark = u"://";
    const QStringView rest = run.mid(schemeEnd);
    candidate = {position,
                 run.size() - position,
                 run.mid(position, schemeEnd - position),
                 rest.startsWith(authorityMark) && rest.size() > authorityMark.size(),
                 {}};
    return true;
}

bool UrlScanner::MatchHost(UrlCandidate& candidate) const
{
    qsizetype hostEnd = none;
    qsizetype matchEnd = none;
    qsizetype end = LabelEnd(position);
    while (end != none && end < run.size() && run.at(end) == u'.') {
        end = LabelEnd(end + 1);
        const bool hasDotAfter = end != none && end < run.size() && run.at(end) == u'.';
        const qsizetype endHere = end == none ? none : hasDotAfter ? end : HostMatchEnd(end);
        if (endHere != none) {
            hostEnd = end;
            matchEnd = endHere;
        }
    }
    if (hostEnd == none) {
        return false;
    }
    candidate = {position, matchEnd - position, {}, false, run.mid(position, hostEnd - position)};
    return true;
}

/// Returns the end of the label that begins at `begin`, or `none` if there is no complete label.
qsizetype UrlScanner::LabelEnd(qsizetype begin) const
{
    qsizetype end = begin;
    int length = 0;
    char32_t last = U'-';
    while (end < run.size()) {
        const CodePoint next = CodePointAt(run, end);
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

/// Returns the end of the match whose host ends at `hostEnd`, or `none` if no host can end at that position.
/// No dot may follow the host.
qsizetype UrlScanner::HostMatchEnd(qsizetype hostEnd) const
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
        if (end == run.size() || !IsTokenCharacter(CodePointAt(run, end).value)) {
            return end;
        }
    }
    return none;
}

} // namespace tools::url
