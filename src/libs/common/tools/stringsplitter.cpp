#include <common/tools/stringsplitter.h>

#include <QStringView>

namespace tools::string
{

namespace
{

constexpr int minimumUtf8Limit = 3; // the longest UTF-8 form of one unit
constexpr int minimumUcs2Limit = 2; // one unit

/// Counts the bytes that QString::toUtf8 would return for a text that grows unit by unit.
class Utf8Counter
{
public:
    void Append(char16_t unit)
    {
        const bool endsPair = afterHighSurrogate && QChar::isLowSurrogate(unit);
        afterHighSurrogate = QChar::isHighSurrogate(unit);
        if (endsPair) {
            size += pairSize - loneSurrogateSize;
        } else if (QChar::isSurrogate(unit)) {
            size += loneSurrogateSize;
        } else {
            size += unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
        }
    }

    qsizetype Size() const { return size; }

private:
    static constexpr qsizetype pairSize = 4;
    /// Number of bytes that QString::toUtf8 writes for a lone surrogate.
    static inline const qsizetype loneSurrogateSize = QString(QChar(0xD800)).toUtf8().size();

    qsizetype size = 0;
    bool afterHighSurrogate = false;
};

QStringList OnePiece(const QString& text)
{
    return text.isEmpty() ? QStringList() : QStringList(text);
}

} // namespace

QStringList splitter::Utf8(const QString& text, int limit)
{
    if (limit < minimumUtf8Limit) {
        return OnePiece(text);
    }
    QStringList pieces;
    const qsizetype half = limit / 2;
    qsizetype start = 0;
    Utf8Counter counter;
    for (qsizetype i = 0; i < text.size(); ++i) {
        counter.Append(text.at(i).unicode());
        if (i + 1 - start < half || counter.Size() < limit) {
            continue;
        }
        if (counter.Size() > limit) {
            --i; // The unit that exceeded the limit comes first in the next piece.
        }
        pieces += text.mid(start, i + 1 - start);
        start = i + 1;
        counter = Utf8Counter();
    }
    if (start < text.size()) {
        pieces += text.mid(start);
    }
    return pieces;
}

QStringList splitter::Ucs2(const QString& text, int limit)
{
    if (limit < minimumUcs2Limit) {
        return OnePiece(text);
    }
    QStringList pieces;
    const qsizetype half = limit / 2;
    qsizetype start = 0;
    const auto finishPiece = [&](qsizetype end) {
        if (end > start) {
            pieces += text.mid(start, end - start);
            start = end;
        }
    };
    for (qsizetype position = 0; position < text.size(); position += half) {
        const QStringView slice = QStringView(text).mid(position, half);
        if (slice.toUtf8().size() > slice.size()) {
            finishPiece(position);
            finishPiece(position + slice.size());
        } else if (position - start >= limit) {
            finishPiece(position);
        }
    }
    finishPiece(text.size());
    return pieces;
}

} // namespace tools::string
