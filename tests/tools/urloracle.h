#pragma once

#include <common/tools/url.h>

#include <QRegularExpression>
#include <QUrl>

#include <algorithm>
#include <optional>

/// Finds links with a backtracking regular expression and QUrl. FindUrlRanges must give the same.
namespace urloracle
{

inline const QRegularExpression& Pattern()
{
    static const QRegularExpression pattern(
        QStringLiteral(
            R"((?<![@\p{L}\p{N}_-])(?:([A-Za-z][A-Za-z0-9+-]*)://[^\s<>]+|([A-Za-z][A-Za-z0-9+-]*):[^\s<>]+|)"
            R"(((?:[\p{L}\p{N}](?:[\p{L}\p{N}-]{0,61}[\p{L}\p{N}])?\.)+[\p{L}\p{N}](?:[\p{L}\p{N}-]{0,61})"
            R"([\p{L}\p{N}])?)(?::[0-9]{1,5})?(?:/[^\s<>]*)?)(?![@\p{L}\p{N}_-]))"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
    return pattern;
}

/// Replaces lone surrogates, which the engine refuses, by a character that is not a letter either.
inline QString WithoutHalfPairs(QString text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            ++i;
        } else if (text.at(i).isSurrogate()) {
            text[i] = QChar::ReplacementCharacter;
        }
    }
    return text;
}

/// Returns whether Qt and the engine, whose versions of Unicode can differ, have the same letters in the
/// text.
inline bool HasSameLetters(QString text)
{
    static const QRegularExpression letter(QStringLiteral(R"([\p{L}\p{N}])"),
                                           QRegularExpression::UseUnicodePropertiesOption);
    QString others;
    for (const char32_t character : text.toUcs4()) {
        if (!QChar::isLetterOrNumber(character)) {
            others += QChar::fromUcs4(character);
        }
    }
    return text.remove(letter) == others;
}

inline bool IsWordOf(const char* words, const QString& word)
{
    return QByteArray(words).split(' ').contains(word.toLatin1().toLower());
}

inline QString TopLevelPart(QString host)
{
    if (host.endsWith(u'.')) {
        host.chop(1);
    }
    const qsizetype dot = host.lastIndexOf(u'.');
    return dot < 0 ? QString() : host.mid(dot + 1).toLower();
}

inline QString Trimmed(QString link)
{
    while (!link.isEmpty()) {
        const qsizetype kind = QStringView(u")]}").indexOf(link.back());
        const bool isUnbalanced =
            kind >= 0 && link.count(link.back()) > link.count(QStringView(u"([{").at(kind));
        if (!isUnbalanced && !QStringView(u".,!?:;\"'").contains(link.back())) {
            break;
        }
        link.chop(1);
    }
    return link;
}

inline bool IsWebLink(const QString& link)
{
    const QString domain = TopLevelPart(QUrl(link, QUrl::TolerantMode).host(QUrl::FullyDecoded));
    const bool isInternational =
        domain.startsWith(QLatin1String("xn--"), Qt::CaseInsensitive) ||
        std::any_of(domain.begin(), domain.end(), [](QChar c) { return c.unicode() > 127; });
    return !isInternational || tools::url::IsValidTopLevelDomain(domain);
}

/// Returns nothing if the engine gives up, if it and Qt disagree about letters, or if an authority is too
/// long for FindUrlRanges to parse.
inline std::optional<QList<tools::url::UrlRange>> FindUrlRanges(const QString& text)
{
    QList<tools::url::UrlRange> ranges;
    const QString subject = WithoutHalfPairs(text);
    if (!HasSameLetters(subject)) {
        return std::nullopt;
    }
    qsizetype position = 0;
    for (;;) {
        const QRegularExpressionMatch match = Pattern().match(subject, position);
        if (!match.isValid()) {
            return std::nullopt;
        }
        if (!match.hasMatch()) {
            return ranges;
        }
        position = match.capturedEnd();
        const QString link = Trimmed(text.mid(match.capturedStart(), match.capturedLength()));
        bool isLink = false;
        if (match.capturedLength(1) > 0) {
            const qsizetype authority = match.capturedLength(1) + 3;
            const qsizetype end = link.indexOf(QRegularExpression(QStringLiteral("[/?#]")), authority);
            if ((end < 0 ? link.size() : end) - authority > 510) {
                return std::nullopt;
            }
            isLink = IsWordOf("ftp http https", match.captured(1)) && IsWebLink(link);
        } else if (match.capturedLength(2) > 0) {
            isLink = IsWordOf("callto mailto sip sips tel", match.captured(2));
        } else {
            isLink = tools::url::IsValidTopLevelDomain(TopLevelPart(match.captured(3)));
        }
        if (isLink) {
            ranges.append({static_cast<int>(match.capturedStart()), static_cast<int>(link.size())});
        }
    }
}

} // namespace urloracle
