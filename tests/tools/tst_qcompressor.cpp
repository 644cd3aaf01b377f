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
    void roundTrip_data();
    void roundTrip();
    void foreign_data();
    void foreign();
    void flippedBits();
    void truncated();
};

void TestQCompressor::roundTrip_data()
{
    QTest::addColumn<QByteArray>("input");

    QTest::newRow("nothing, without even a header") << QByteArray();
    for (const qsizetype size : {chunkSize - 1, chunkSize, chunkSize + 1, 4 * chunkSize}) {
        QTest::addRow("%lld bytes of noise", qlonglong{size}) << Noise(size);
    }
    QTest::newRow("exact multiple of a chunk that packs well, a bomb") << QByteArray(1024 * chunkSize, '\0');
}

void TestQCompressor::roundTrip()
{
    QFETCH(QByteArray, input);

    for (const int level : {-1, 0, 9}) {
        QByteArray bytes = Packed(input, level);
        QCOMPARE(bytes.isEmpty(), input.isEmpty());
        QVERIFY(QCompressor::gzipDecompress(bytes, bytes)); // in place
        QVERIFY(bytes == input);
    }
    QCOMPARE(Packed(input, 15), Packed(input, 9));
    QCOMPARE(Packed(input, -7), Packed(input, -1));
    QVERIFY(input.isEmpty() || Packed(input, 0) != Packed(input, 9));
}

void TestQCompressor::foreign_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<bool>("success");

    // Made by gzip -9, which stores the file's name and time.
    const QByteArray named =
        QByteArray::fromHex("1f8b080835fc056b02036e616d652e74787400cb48cdc9c957c8402701e3513d8d17000000");
    QTest::newRow("header with a name") << named << true;
    QTest::newRow("second member") << named + Packed("second") << true;
    QTest::newRow("garbage behind the end") << named + QByteArray(100000, '\xff') << true;
    QTest::newRow("no gzip") << QByteArray("plain text") << false;
    QTest::newRow("zlib wrapper") << qCompress("text").mid(4) << false;
    QTest::newRow("header only") << named.left(10) << false;
}

void TestQCompressor::foreign()
{
    QFETCH(QByteArray, input);
    QFETCH(bool, success);

    QByteArray output = "old content";
    QCOMPARE(QCompressor::gzipDecompress(input, output), success);
    QCOMPARE(output, success ? "hello hello hello hello" : "");
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
        const bool success = QCompressor::gzipDecompress(bytes, bytes);
        // Header fields that are only told, and bits that pad the last byte, may differ.
        QVERIFY(!success || bytes == input);
        QVERIFY(!success || (position >= identificationSize && position < packed.size() - trailerSize));
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

QTEST_GUILESS_MAIN(TestQCompressor)
#include "tst_qcompressor.moc"
