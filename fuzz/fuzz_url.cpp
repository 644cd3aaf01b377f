// Finds links in any text, by the pattern and by the scanner for long runs, which must agree.

#include "fuzztarget.h"

#include <common/tools/url.h>

void RunInput(const QByteArray& input)
{
    const QString text = QString::fromUtf8(input);
    const auto ranges = tools::url::FindUrlRanges(text);
    int end = 0;
    for (const auto& range : ranges) {
        Require(range.start >= end && range.length > 0, "links are in order and do not overlap");
        end = range.start + range.length;
    }
    Require(end <= text.size(), "links lie in the text");

    // A prefix that makes the first run a long one and takes no part in a link.
    const QString prefix(1025, u'(');
    QString longText = text;
    longText.prepend(prefix);
    const auto shifted = tools::url::FindUrlRanges(longText);
    Require(shifted.size() == ranges.size(), "a long run has the same links");
    for (qsizetype i = 0; i < ranges.size(); ++i) {
        Require(shifted.at(i).start == ranges.at(i).start + prefix.size(), "a link starts where it did");
        Require(shifted.at(i).length == ranges.at(i).length, "a link has the length it had");
    }
}
