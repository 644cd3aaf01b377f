#pragma once

#include <common/tools/url.h>

#include <QRegularExpression>
#include <QUrl>

#include <optional>

/// Finds links with a backtracking regular expression and QUrl. tools::url::FindUrlRanges must find the same
/// links.
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

/// Returns whether Qt and the regular expression engine, whose Unicode versions can differ, agree on the
/// letters in the string.
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

inline QString TopLevelPart(const QString& host)
{
    static const QRegularExpression part(QStringLiteral(R"(\.([^.]*)\.?$)"));
    return part.match(host).captured(1).toLower();
}

inline QString Trimmed(QString link)
{
    for (; !link.isEmpty(); link.chop(1)) {
        const qsizetype kind = QStringView(u")]}").indexOf(link.back());
        const bool isUnbalanced =
            kind >= 0 && link.count(link.back()) > link.count(QStringView(u"([{").at(kind));
        if (!isUnbalanced && !QStringView(u".,!?:;\"'").contains(link.back())) {
            break;
        }
    }
    return link;
}

inline bool IsWebLink(const QString& link)
{
    const QString domain = TopLevelPart(QUrl(link, QUrl::TolerantMode).host(QUrl::FullyDecoded));
    static const QRegularExpression international(QStringLiteral(R"(^xn--|[^\x00-\x7F])"));
    return !domain.contains(international) || tools::url::IsValidTopLevelDomain(domain);
}

/// Returns std::nullopt if the engine exceeds its limits, if it disagrees with Qt on the letters, or if an
/// authority is too long for tools::url::FindUrlRanges.
inline std::optional<QList<tools::url::UrlRange>> FindUrlRanges(const QString& text)
{
    QList<tools::url::UrlRange> ranges;
    // The engine rejects lone surrogates, so replace them; like them, the replacement is not a letter. The
    // leading space prevents fromUtf8 from dropping a BOM.
    const QString subject = QString::fromUtf8((u' ' + text).toUtf8()).mid(1);
    if (!HasSameLetters(subject)) {
        return std::nullopt;
    }
    QRegularExpressionMatch match = Pattern().match(subject);
    for (; match.hasMatch(); match = Pattern().match(subject, match.capturedEnd())) {
        const QString link = Trimmed(text.mid(match.capturedStart(), match.capturedLength()));
        const QByteArray scheme = (match.captured(1) + match.captured(2)).toLatin1().toLower();
        bool isLink = false;
        if (match.capturedLength(1) > 0) {
            static const QRegularExpression authorityEnd(QStringLiteral("[/?#]"));
            if (link.section(QStringLiteral("://"), 1).section(authorityEnd, 0, 0).size() > 510) {
                return std::nullopt;
            }
            isLink = QByteArrayList{"ftp", "http", "https"}.contains(scheme) && IsWebLink(link);
        } else if (match.capturedLength(2) > 0) {
            isLink = QByteArrayList{"callto", "mailto", "sip", "sips", "tel"}.contains(scheme);
        } else {
            isLink = tools::url::IsValidTopLevelDomain(TopLevelPart(match.captured(3)));
        }
        if (isLink) {
            ranges.append({static_cast<int>(match.capturedStart()), static_cast<int>(link.size())});
        }
    }
    return match.isValid() ? std::optional(ranges) : std::nullopt;
}

} // namespace urloracle
