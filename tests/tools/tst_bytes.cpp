#include <common/tools/aes.h>
#include <common/tools/qcompressor.h>

#include <QTest>

#include <algorithm>
#include <random>

using tools::QCompressor;
using tools::cipher::AES;

namespace
{

constexpr qsizetype chunkSize = 32768;

/// Returns incompressible bytes, the same in each run.
QByteArray Noise(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    std::generate(bytes.begin(), bytes.end(), std::minstd_rand(1)); // NOLINT(cert-msc32-c,cert-msc51-cpp)
    return bytes;
}

QByteArray Packed(const QByteArray& input, int level = 6)
{
    QByteArray output = "old content";
    return QCompressor::gzipCompress(input, output, level) ? output : "packing failed";
}

} // namespace

class TestBytes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cipherVectors();
    void cipherTexts();
    void machineKey();
    void packing();
    void damagedPacks();
};

void TestBytes::cipherVectors()
{
    const auto verify = [](const QString& key, const QByteArray& plain, const char* cipher) {
        QByteArray bytes = plain;
        QCOMPARE(&AES::encrypt(key, bytes, bytes), &bytes);
        QCOMPARE(bytes.toBase64(), cipher);
        QCOMPARE(&AES::decrypt(key, bytes, bytes), &bytes);
        QCOMPARE(bytes, plain.leftJustified(bytes.size(), '\0'));
    };
    // Made with: openssl enc -a -A -aes-128-cbc -nopad -K HEX_OF_KEY -iv 43344431374530394132423634383346
    // (or -aes-192-cbc, -aes-256-cbc). The key and the text were padded with zero bytes.
    const QByteArray plain = "two blocks of text, not one alone";
    verify("0123456789abcdef", plain, "tlkeGMqmk57ePFl9TRIP8ljU5F4F8kqWuT04Rddq/u3XZnRCEhnAcyx9HMfsM99K");
    verify("0123456789abcdef0", "hello", "4o9ssVeElvk8ggRy+7hc7g=="); // 17 bytes are padded to 192 bits
    verify("0123456789abcdef0123456789abcdef", plain,
           "FbjweylZHOznlPikrNMKrfsVMNTHDjSnF0RldteIHOBxUkJnCss486DAFJ1I+iBW");

    QByteArray zeros;
    const QString tooLong = QString(15, 'k') + "жжжжжжжжж"; // 33 bytes
    QCOMPARE(AES::encrypt(tooLong, "hello", zeros), QByteArray(16, '\0'));
    QCOMPARE(AES::decrypt(tooLong, QByteArray(17, 'x'), zeros), QByteArray(32, '\0'));
}

void TestBytes::cipherTexts()
{
    const QString cipher = AES::encrypt("ключ", "привет");
    QCOMPARE(AES::decrypt("ключ", cipher), "привет" + QString(4, QChar(0)));
    QVERIFY(!AES::decrypt("другой", cipher).startsWith("привет"));
    // The last block is incomplete.
    QCOMPARE(AES::decrypt("key", AES::encrypt("key", QString(32, 'x')).left(28)).left(16), QString(16, 'x'));

    const QString pair = AES::encryptPair("name", "va=lue %1");
    QCOMPARE(AES::decryptPair("name", pair), "va=lue %1" + QString(2, QChar(0)));
    QCOMPARE(AES::decryptPair("na", pair), "");
}

void TestBytes::machineKey()
{
    // The base of the machine key XOR the user's name, byte by byte, as Base64 and truncated to 32
    // characters. Computed without this library.
    const QString key = "Vi8rUl5bWC1fJVgsVShWUy9XIlorUV9d";
    for (const char* name : {"USERNAME", "user", "UserName"}) {
        qunsetenv(name);
    }
    qputenv("USER", "");
    QCOMPARE(AES::machineKey(), "THQBA3MNfHEAaQEABwAVBgAAdRkHAXQH");
    // On Windows, qputenv supports only the characters of one code page.
    qputenv("USER", "жанна");
    QVERIFY(AES::machineKey() == "5/eVg+CI6f7h9Ob05Pboj5GEk4SVhuGD" || QSysInfo::kernelType() == "winnt");
    qunsetenv("USER");
    qputenv("UserName", "ann");
    QCOMPARE(AES::machineKey(), key);

    QByteArray bytes;
    QCOMPARE(AES::encrypt("hello"), AES::encrypt(key, "hello"));
    QCOMPARE(AES::encrypt("hello", bytes).toBase64(), AES::encrypt(key, "hello").toLatin1());
    QCOMPARE(AES::decrypt(bytes, bytes), "hello" + QByteArray(11, '\0'));
}

void TestBytes::packing()
{
    QVERIFY2(Packed(QByteArray()).isEmpty(), "nothing gets not even a header");
    // Sizes at and next to multiples of the chunk size; the last input is a decompression bomb.
    for (const QByteArray& input : {QByteArray(), Noise(chunkSize - 1), Noise(chunkSize),
                                    Noise(4 * chunkSize + 1), QByteArray(1024 * chunkSize, '\0')}) {
        for (const int level : {-7, 0, 15}) {
            QByteArray bytes = Packed(input, level);
            QVERIFY(QCompressor::gzipDecompress(bytes, bytes)); // in place
            QVERIFY(bytes == input);
        }
    }
}

void TestBytes::damagedPacks()
{
    QByteArray output;
    QVERIFY(QCompressor::gzipDecompress(Packed("first member") + Packed("second member"), output));
    QCOMPARE(output, "first member");
    QVERIFY(!QCompressor::gzipDecompress("plain text", output));
    QCOMPARE(output, "");
    // Only the chunk with the error, here a wrong checksum, is lost.
    QByteArray damaged = Packed(QByteArray(2 * chunkSize, '\0'));
    damaged[damaged.size() - 8] = static_cast<char>(~damaged.at(damaged.size() - 8));
    QVERIFY(!QCompressor::gzipDecompress(damaged, output));
    QCOMPARE(output.size(), chunkSize);

    const QByteArray input = Noise(chunkSize) + QByteArray(3 * chunkSize, 'a');
    const QByteArray packed = Packed(input);
    for (qsizetype size = 1; size < packed.size(); size += 97) {
        QVERIFY(!QCompressor::gzipDecompress(packed.left(size), output));
        QVERIFY(input.startsWith(output));
        QVERIFY(output.size() > size - 1000);
    }
    QVERIFY(!QCompressor::gzipDecompress(packed.chopped(1), output));
    QVERIFY(output == input);
}

QTEST_GUILESS_MAIN(TestBytes)
#include "tst_bytes.moc"
