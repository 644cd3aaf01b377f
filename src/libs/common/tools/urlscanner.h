#pragma once

#include <QStringView>

namespace tools::url
{

/// A part of a text that has the form of a link. The views are into the text.
struct UrlCandidate
{
    qsizetype start;    ///< In UTF-16 units.
    qsizetype length;   ///< In UTF-16 units.
    QStringView scheme; ///< Empty for a bare host.
    bool hasAuthority;  ///< The scheme is followed by "://", not just by ":".
    QStringView host;   ///< Empty if there is a scheme.
};

/**
 * Finds the candidates of a text, in their order and in linear time.
 *
 * They are the matches of this pattern, ignoring case and with Unicode classes. White space between its parts
 * is not part of it.
 *
 *     (?<![@\p{L}\p{N}_-])
 *     (?:([A-Za-z][A-Za-z0-9+-]*)://[^\s<>]+
 *       |([A-Za-z][A-Za-z0-9+-]*):[^\s<>]+
 *       |((?:LABEL\.)+LABEL)(?::[0-9]{1,5})?(?:/[^\s<>]*)?)
 *     (?![@\p{L}\p{N}_-])
 *
 *     LABEL = [\p{L}\p{N}](?:[\p{L}\p{N}-]{0,61}[\p{L}\p{N}])?
 *
 * A few rules replace the backtracking: no match leaves its run (text without white space, "<" and ">"); a
 * scheme with something after it, and a path, extend to the end of the run; a label before a dot can be
 * matched in one way only. A lone surrogate is neither a letter nor a space.
 */
class UrlScanner
{
public:
    explicit UrlScanner(QStringView text_);

    /// Returns false if there are no more candidates.
    bool Next(UrlCandidate& candidate);

private:
    bool NextRun();
    bool MatchScheme(UrlCandidate& candidate);
    bool MatchHost(UrlCandidate& candidate) const;
    qsizetype LabelEnd(qsizetype begin) const;
    qsizetype HostMatchEnd(qsizetype hostEnd) const;

    QStringView text;
    QStringView run;            ///< The text up to the end of the current run.
    qsizetype position = 0;     ///< Where the next match can start.
    qsizetype schemeEnd = 0;    ///< End of the last sequence of scheme characters.
    qsizetype hostStart = 0;    ///< No host starts before the last "+" of that sequence.
    bool isInsideToken = false; ///< The character before `position` forbids a match to start there.
};

} // namespace tools::url
