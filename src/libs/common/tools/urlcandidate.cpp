#include "urlcandidate.h"

#include "urlrunscanner.h"

#include <QRegularExpression>

namespace tools::url
{

namespace
{

// A scheme with "://", a scheme with ":" only, or a bare host with an optional port and path.
constexpr char16_t patternText[] =
    uR"re((?<![@\p{L}\p{N}_-])(?:([A-Za-z][A-Za-z0-9+-]*)://[^\s<>]+|([A-Za-z][A-Za-z0-9+-]*):[^\s<>]+|)re"
    uR"re(((?:[\p{L}\p{N}](?:[\p{L}\p{N}-]{0,61}[\p{L}\p{N}])?\.)+[\p{L}\p{N}](?:[\p{L}\p{N}-]{0,61}[\p{L}\p{N}])?))re"
    uR"re((?::[0-9]{1,5})?(?:/[^\s<>]*)?)(?![@\p{L}\p{N}_-]))re";

/// The engine takes quadratic time on some texts, and its stack ends somewhere above 10,000 units. No link
/// that a person writes is near this length.
constexpr qsizetype maxEngineRun = 1024;

const QRegularExpression& Pattern()
{
    static const QRegularExpression pattern(QString::fromUtf16(patternText),
                                            QRegularExpression::CaseInsensitiveOption |
                                                QRegularExpression::UseUnicodePropertiesOption);
    return pattern;
}

/// What the pattern's [^\s<>] excludes, so that no candidate goes beyond it.
bool EndsRun(char16_t unit)
{
    if (unit < 0x80) {
        return unit == u' ' || (unit >= u'\t' && unit <= u'\r') || unit == u'<' || unit == u'>';
    }
    return unit == 0x85 || unit == 0xA0 || unit == 0x1680 || unit == 0x180E ||
           (unit >= 0x2000 && unit <= 0x200A) || unit == 0x2028 || unit == 0x2029 || unit == 0x202F ||
           unit == 0x205F || unit == 0x3000;
}

bool MayBeLetter(char16_t unit)
{
    return unit >= 0x80 || ((unit | 0x20) >= u'a' && (unit | 0x20) <= u'z');
}

UrlCandidate FromMatch(const QRegularExpressionMatch& match)
{
    UrlCandidate candidate{};
    candidate.start = match.capturedStart();
    candidate.length = match.capturedLength();
    candidate.hasAuthority = match.capturedLength(1) > 0;
    candidate.scheme = match.capturedView(candidate.hasAuthority ? 1 : 2);
    candidate.host = match.capturedView(3);
    return candidate;
}

template<typename Handle>
void ScanRun(QStringView run, Handle handle)
{
    if (run.size() <= maxEngineRun) {
        auto matches = Pattern().globalMatch(QString::fromRawData(run.data(), run.size()));
        // The engine refuses a run with half a surrogate pair.
        if (matches.isValid()) {
            while (matches.hasNext()) {
                handle(FromMatch(matches.next()));
            }
            return;
        }
    }
    RunScanner scanner(run);
    UrlCandidate candidate{};
    while (scanner.Next(candidate)) {
        handle(candidate);
    }
}

} // namespace

void ForEachUrlCandidate(const QString& text, const std::function<void(const UrlCandidate&)>& handle)
{
    const QStringView view(text);
    qsizetype start = 0;
    qsizetype firstMark = -1;
    bool hasLetter = false;
    for (qsizetype i = 0; i <= view.size(); ++i) {
        const char16_t unit = i < view.size() ? view.at(i).unicode() : u' ';
        if (!EndsRun(unit)) {
            if (firstMark < 0 && (unit == u'.' || unit == u':')) {
                firstMark = i;
            }
            hasLetter = hasLetter || MayBeLetter(unit);
            continue;
        }
        // A link has a dot or a colon with something behind it, and a letter; most words and numbers do not.
        if (hasLetter && firstMark >= 0 && firstMark < i - 1) {
            ScanRun(view.mid(start, i - start), [&handle, start](UrlCandidate candidate) {
                candidate.start += start;
                handle(candidate);
            });
        }
        start = i + 1;
        firstMark = -1;
        hasLetter = false;
    }
}

} // namespace tools::url
