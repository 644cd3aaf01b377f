// Splits arbitrary strings, including lone surrogates, with various limits.

#include "fuzztarget.h"

#include <common/tools/stringsplitter.h>

#include <cstring>

using tools::string::splitter;

void RunInput(const QByteArray& input)
{
    if (input.isEmpty()) {
        return;
    }
    const int limit = static_cast<unsigned char>(input.front()) - 20;
    QString text((input.size() - 1) / 2, Qt::Uninitialized);
    std::memcpy(text.data(), input.constData() + 1, static_cast<std::size_t>(text.size()) * sizeof(QChar));

    for (const QStringList& pieces : {splitter::Utf8(text, limit), splitter::Ucs2(text, limit)}) {
        Require(pieces.join(QString()) == text, "the pieces make the text");
        Require(!pieces.contains(QString()), "no piece is empty");
    }
}
