// Finds links in arbitrary strings and compares them with the links that the oracle finds.

#include "../tests/tools/urloracle.h"
#include "fuzztarget.h"

void RunInput(const QByteArray& input)
{
    // Read the bytes as UTF-8 and as UTF-16; the latter can contain lone surrogates.
    const QString texts[] = {QString::fromUtf8(input),
                             QString(reinterpret_cast<const QChar*>(input.constData()), input.size() / 2)};
    for (const QString& text : texts) {
        const auto ranges = tools::url::FindUrlRanges(text);
        const auto expected = urloracle::FindUrlRanges(text);
        if (!expected) {
            continue;
        }
        Require(ranges.size() == expected->size(), "there are as many links");
        for (qsizetype i = 0; i < ranges.size(); ++i) {
            Require(ranges.at(i).start == expected->at(i).start, "a link has the same start");
            Require(ranges.at(i).length == expected->at(i).length, "a link has the same length");
        }
    }
}
