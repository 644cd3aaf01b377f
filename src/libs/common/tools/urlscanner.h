#pragma once

#include <QStringView>

namespace tools::url
{

/// A part of a text that has the form of a link. The views refer to the text.
struct UrlCandidate
{
    qsizetype start;    ///< In UTF-16 units.
    qsizetype length;   ///< In UTF-16 units.
    QStringView scheme; ///< Empty for a bare host.
    bool hasAuthority;  ///< Whether "://" follows the scheme, not just ":".
    QStringView host;   ///< Empty if there is a scheme.
};

/**
 * Finds the candidates of a text, in order and in linear time.
 *
 * The candidates are the matches of this pattern, with case ignored and with Unicode character classes. The
 * white space only separates the parts of the pattern.
 *
 *     (?<![@\p{L}\p{N}_-])
 *     (?:([A-Za-z][A-Za-z0-9+-]*)://[^\s<>]+
 *       |([A-Za-z][A-Za-z0-9+-]*):[^\s<>]+
 *       |((?:LABEL\.)+LABEL)(?::[0-9]{1,5})?(?:/[^\s<>]*)?)
 *     (?![@\p{L}\p{N}_-])
 *
 *     LABEL = [\p{L}\p{N}](?:[\p{L}\p{N}-]{0,61}[\p{L}\p{N}])?
 *
 * Three rules replace backtracking. No match extends beyond its run, a part of the text without white space,
 * "<" and ">". A path, or any text after a scheme, extends to the end of the run. A label before a dot has
 * only one possible match. A lone surrogate is neither a letter nor a space.
 */
class UrlScanner
{
public:
    explicit UrlScanner(QStringView text_);

    /// Finds the next candidate. Returns false if there are no more candidates.
    bool Next(UrlCandidate& candidate);

private:
    bool NextRun();
    bool MatchScheme(UrlCandidate& candidate);
    bool MatchHost(UrlCandidate& candidate) const;
    qsizetype LabelEnd(qsizetype begin) const;
    qsizetype HostMatchEnd(qsizetype hostEnd) const;

    QStringView text;
    QStringView run;            ///< The text up to the end of the current run.
    qsizetype position = 0;     ///< First position at which the next match can start.
    qsizetype schemeEnd = 0;    ///< End of the last sequence of scheme characters.
    qsizetype hostStart = 0;    ///< Last "+" of that sequence; no host starts before it.
    bool isInsideToken = false; ///< Whether the previous character prevents a match at `position`.
};

} // namespace tools::url
