#pragma once

#include "urlcandidate.h"

#include <QStringView>

namespace tools::url
{

/**
 * Finds in a run of text what the link pattern would find, in linear time and without a stack.
 *
 * A run is text without white space, "<" and ">". For this kind of text, and only for it, the pattern comes
 * down to a few rules: a scheme with something behind it reaches to the end of the run, and so does a path; a
 * label that a dot follows can be matched in one way only.
 */
class RunScanner
{
public:
    explicit RunScanner(QStringView run_);

    /// Finds the next candidate, `start` counted from the beginning of the run.
    bool Next(UrlCandidate& candidate);

private:
    struct CodePoint
    {
        char32_t value;
        qsizetype size; ///< In UTF-16 units.
    };

    CodePoint At(qsizetype index) const;
    bool IsInsideToken(qsizetype index) const;
    bool MatchScheme(UrlCandidate& candidate);
    bool MatchHost(UrlCandidate& candidate) const;
    qsizetype LabelEnd(qsizetype begin) const;
    qsizetype HostMatchEnd(qsizetype hostEnd) const;

    QStringView run;
    qsizetype position = 0;
    qsizetype schemeEnd = 0; ///< Behind the last run of scheme characters that was looked at.
    bool afterToken =
        false; ///< What stands before `position` belongs to a token, so that no match may start.
};

} // namespace tools::url
