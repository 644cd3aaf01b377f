#include <common/tools/qcompressor.h>

#include <QRandomGenerator>
#include <QTest>

#include <zlib.h>

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
    if (!QCompressor::gzipCompress(input, output, level)) {
        qFatal("packing failed");
    }
    return output;
}

/// Chunk by chunk, each one appended by itself: what damaged streams must give.
bool StepwiseDecompress(const QByteArray& input, QByteArray& output)
{
    z_stream stream{};
    if (inflateInit2(&stream, 31) != Z_OK) {
        return false;
    }
    int result = Z_OK;
    for (qsizetype position = 0; position < input.size() && result != Z_STREAM_END; position += chunkSize) {
        QByteArray in = input.mid(position, chunkSize);
        stream.next_in = reinterpret_cast<Bytef*>(in.data());
        stream.avail_in = static_cast<uInt>(in.size());
        do {
            QByteArray out(chunkSize, Qt::Uninitialized);
            stream.next_out = reinterpret_cast<Bytef*>(out.data());
            stream.avail_out = chunkSize;
            result = inflate(&stream, Z_NO_FLUSH);
            if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) {
                inflateEnd(&stream);
                return false;
            }
            output += out.first(chunkSize - qsizetype{stream.avail_out});
        } while (stream.avail_out == 0);
    }
    inflateEnd(&stream);
    return result == Z_STREAM_END;
}

} // namespace

class TestQCompressor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void roundTrip_data();
    void roundTrip();
    void level_data();
    void level();
    void foreign_data();
    void foreign();
    void sameObject();
    void truncated();
    void flippedBits();
    void damagedLikeStepwise();
    void bomb();
};

void TestQCompressor::roundTrip_data()
{
    QTest::addColumn<QByteArray>("input");

    QTest::newRow("one byte") << QByteArray("x");
    for (const qsizetype size : {chunkSize - 1, chunkSize, chunkSize + 1, 4 * chunkSize}) {
        QTest::addRow("%lld like bytes", qlonglong{size}) << QByteArray(size, 'a');
        QTest::addRow("%lld bytes of noise", qlonglong{size}) << Noise(size);
    }
}

void TestQCompressor::roundTrip()
{
    QFETCH(QByteArray, input);

    for (int level = -1; level <= 9; ++level) {
        QByteArray output = "old content";
        QVERIFY(QCompressor::gzipDecompress(Packed(input, level), output));
        QCOMPARE(output, input);
    }
}

void TestQCompressor::level_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<int>("same");

    QTest::newRow("above the range") << 15 << 9;
    QTest::newRow("below the range") << -7 << -1;
    QTest::newRow("zlib's default") << -1 << 6;
}

void TestQCompressor::level()
{
    QFETCH(int, level);
    QFETCH(int, same);

    QByteArray input;
    for (int i = 0; i < 10000; ++i) {
        input += QByteArray::number(i * i);
    }
    QCOMPARE(Packed(input, level), Packed(input, same));
    QVERIFY(Packed(input, 1) != Packed(input, 9));
}

void TestQCompressor::foreign_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<bool>("success");
    QTest::addColumn<QByteArray>("expected");

    // Made by gzip -9, which stores the file's name and time.
    const QByteArray named =
        QByteArray::fromHex("1f8b080835fc056b02036e616d652e74787400cb48cdc9c957c8402701e3513d8d17000000");
    const QByteArray second = QByteArray::fromHex("1f8b08000000000000032b4e4dcecf4b010069111fb606000000");
    const QByteArray text = "hello hello hello hello";
    QByteArray wrongSum = named;
    wrongSum[named.size() - 8] = static_cast<char>(wrongSum.at(named.size() - 8) ^ 1);
    QByteArray wrongSize = named;
    wrongSize[named.size() - 1] = 1;

    QTest::newRow("nothing") << QByteArray() << true << QByteArray();
    QTest::newRow("header with a name") << named << true << text;
    QTest::newRow("second member") << named + second << true << text;
    QTest::newRow("garbage behind the end") << named + QByteArray(100000, '\xff') << true << text;
    QTest::newRow("no gzip") << QByteArray("plain text") << false << QByteArray();
    QTest::newRow("zlib wrapper") << qCompress(text).mid(4) << false << QByteArray();
    QTest::newRow("wrong sum") << wrongSum << false << QByteArray();
    QTest::newRow("wrong size") << wrongSize << false << QByteArray();
    QTest::newRow("header only") << named.left(10) << false << QByteArray();
}

void TestQCompressor::foreign()
{
    QFETCH(QByteArray, input);
    QFETCH(bool, success);
    QFETCH(QByteArray, expected);

    QByteArray output = "old content";
    QCOMPARE(QCompressor::gzipDecompress(input, output), success);
    QCOMPARE(output, expected);
    output = "old content";
    QVERIFY(QCompressor::gzipCompress(QByteArray(), output, 9));
    QVERIFY(output.isEmpty());
}

void TestQCompressor::sameObject()
{
    const QByteArray input = Noise(2 * chunkSize);
    QByteArray bytes = input;
    QVERIFY(QCompressor::gzipCompress(bytes, bytes, 1));
    QVERIFY(bytes != input);
    QVERIFY(QCompressor::gzipDecompress(bytes, bytes));
    QCOMPARE(bytes, input);
}

void TestQCompressor::truncated()
{
    const QByteArray input = Noise(3 * chunkSize);
    const QByteArray packed = Packed(input);
    QByteArray output;
    for (qsizetype size = 1; size < packed.size(); size += 997) {
        QVERIFY(!QCompressor::gzipDecompress(packed.left(size), output));
        QVERIFY(input.startsWith(output));
    }
    QVERIFY(!QCompressor::gzipDecompress(packed.chopped(1), output));
    QCOMPARE(output, input);
}

void TestQCompressor::flippedBits()
{
    const QByteArray input = "a small stream, a small stream: 0123456789";
    const QByteArray packed = Packed(input);
    constexpr int identificationSize = 3; // two magic bytes and the method
    constexpr int trailerSize = 8;        // CRC-32 and size
    for (int position = 0; position < packed.size(); ++position) {
        for (int bit = 0; bit < 8; ++bit) {
            QByteArray damaged = packed;
            damaged[position] = static_cast<char>(damaged.at(position) ^ (1 << bit));
            QByteArray output;
            const bool success = QCompressor::gzipDecompress(damaged, output);
            if (position < identificationSize || position >= packed.size() - trailerSize) {
                QVERIFY(!success);
            }
            // Header fields that are only told, and bits that pad the last byte, may differ.
            QVERIFY(!success || output == input);
        }
    }
}

void TestQCompressor::damagedLikeStepwise()
{
    // Parts that pack well, badly and to exact multiples of a chunk.
    const QByteArray packed =
        Packed(QByteArray(3 * chunkSize, 'a') + Noise(chunkSize) + QByteArray("abc").repeated(chunkSize));
    QRandomGenerator random(4);
    for (int i = 0; i < 1500; ++i) {
        QByteArray damaged = packed;
        const int position = random.bounded(static_cast<int>(packed.size()));
        damaged[i % 3 == 0 ? packed.size() - 1 - position % 400 : position] =
            static_cast<char>(random.generate());
        QByteArray output;
        QByteArray expected;
        const bool success = QCompressor::gzipDecompress(damaged, output);
        QCOMPARE(success, StepwiseDecompress(damaged, expected));
        QVERIFY(output == expected);
    }
}

void TestQCompressor::bomb()
{
    const QByteArray zeros(qsizetype{64} * 1024 * 1024, '\0');
    const QByteArray packed = Packed(zeros, 9);
    QVERIFY(packed.size() < 100000);
    QByteArray output;
    QVERIFY(QCompressor::gzipDecompress(packed, output));
    QVERIFY(output == zeros);
}

QTEST_GUILESS_MAIN(TestQCompressor)
#include "tst_qcompressor.moc"
