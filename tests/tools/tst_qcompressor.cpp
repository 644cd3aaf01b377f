#include <common/tools/qcompressor.h>

#include <QRandomGenerator>
#include <QTest>

using tools::QCompressor;

namespace
{

constexpr qsizetype chunkSize = 32768;

/// Bytes without a pattern that could be packed, the same in each run.
QByteArray Noise(qsizetype size)
{
    QRandomGenerator generator(1);
    QByteArray bytes(size, Qt::Uninitialized);
    for (char& byte : bytes) {
        byte = static_cast<char>(generator.generate());
    }
    return bytes;
}

QByteArray Packed(const QByteArray& input, int level = 6)
{
    QByteArray output = "old content";
    return QCompressor::gzipCompress(input, output, level) ? output : "packing failed";
}

} // namespace

class TestQCompressor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void roundTrip();
    void foreign();
    void truncated();
    void flippedBits();
};

void TestQCompressor::roundTrip()
{
    QVERIFY2(Packed(QByteArray()).isEmpty(), "nothing gets not even a header");
    // Exact multiples of a chunk, and their neighbours; the last is a bomb.
    for (const QByteArray& input : {QByteArray(), Noise(chunkSize - 1), Noise(chunkSize),
                                    Noise(4 * chunkSize + 1), QByteArray(1024 * chunkSize, '\0')}) {
        for (const int level : {-1, 0, 9}) {
            QByteArray bytes = Packed(input, level);
            QVERIFY(QCompressor::gzipDecompress(bytes, bytes)); // in place
            QVERIFY(bytes == input);
        }
    }
    const QByteArray text = QByteArray("many words, many more words").repeated(1000) + Noise(1000);
    QCOMPARE(Packed(text, 15), Packed(text, 9));
    QCOMPARE(Packed(text, -7), Packed(text, -1));
    QVERIFY(Packed(text, -1).size() < Packed(text, 0).size());
}

void TestQCompressor::foreign()
{
    // Made by gzip -9, which stores the file's name and time.
    const QByteArray named =
        QByteArray::fromHex("1f8b080835fc056b02036e616d652e74787400cb48cdc9c957c8402701e3513d8d17000000");
    QByteArray output;
    for (const QByteArray& behind : {QByteArray(), Packed("second member"), QByteArray(100000, '\xff')}) {
        QVERIFY(QCompressor::gzipDecompress(named + behind, output));
        QCOMPARE(output, "hello hello hello hello");
    }
    for (const QByteArray& input : {QByteArray("plain text"), qCompress("zlib").mid(4), named.left(10)}) {
        QVERIFY(!QCompressor::gzipDecompress(input, output));
        QCOMPARE(output, "");
    }
}

void TestQCompressor::truncated()
{
    const QByteArray input = Noise(chunkSize) + QByteArray(3 * chunkSize, 'a');
    const QByteArray packed = Packed(input);
    QByteArray output;
    for (qsizetype size = 1; size < packed.size(); size += 97) {
        QVERIFY(!QCompressor::gzipDecompress(packed.left(size), output));
        QVERIFY(input.startsWith(output) && output.size() > size - 1000);
    }
    QVERIFY(!QCompressor::gzipDecompress(packed.chopped(1), output));
    QVERIFY(output == input);
}

void TestQCompressor::flippedBits()
{
    const QByteArray input = "a small stream, a small stream: 0123456789";
    const QByteArray packed = Packed(input);
    constexpr qsizetype identificationSize = 3; // two magic bytes and the method
    constexpr qsizetype trailerSize = 8;        // CRC-32 and size
    for (qsizetype bit = 0; bit < 8 * packed.size(); ++bit) {
        const qsizetype position = bit / 8;
        QByteArray bytes = packed;
        bytes[position] = static_cast<char>(bytes.at(position) ^ (1 << bit % 8));
        // Header fields that are only told, and bits that pad the last byte, may differ.
        if (QCompressor::gzipDecompress(bytes, bytes)) {
            QCOMPARE(bytes, input);
            QVERIFY(position >= identificationSize && position < packed.size() - trailerSize);
        }
    }
}

QTEST_GUILESS_MAIN(TestQCompressor)
#include "tst_qcompressor.moc"
