#include <common/tools/aes.h>

#include <QProcess>
#include <QTest>

using tools::cipher::AES;

namespace
{

const QByteArray zeros16(16, '\0');

/// Makes `user` the name of the logged-in user.
void SetUser(const QByteArray& user)
{
    qunsetenv("USERNAME");
    qputenv("USER", user);
}

} // namespace

class TestAes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { SetUser("ann"); }
    void vectors_data();
    void vectors();
    void sizes_data();
    void sizes();
    void partialBlock();
    void textForms();
    void keyTooLong();
    void machineKey_data();
    void machineKey();
    void environmentOrder();
    void pairs();
};

void TestAes::vectors_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QByteArray>("plain");
    QTest::addColumn<QByteArray>("expected");

    // The plain text of NIST SP 800-38A, F.2; its own keys are no UTF-8 and its vector is another, so these
    // were made with: xxd -r -p | openssl enc -aes-128-cbc -nopad -K HEX_OF_KEY -iv
    // 43344431374530394132423634383346 (or -aes-192-cbc, -aes-256-cbc), the key filled up with zero bytes.
    const QByteArray plain =
        QByteArray::fromHex("6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                            "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710");
    QTest::newRow("128 bits") << "0123456789abcdef" << plain
                              << QByteArray::fromHex(
                                     "d7d17075b2bd94d247d03ed0663c2956a11289fbfb3ca0af497c42fba5fb5484"
                                     "f65b069c7af118d06a1787351d883d0132e155444573108fb0455cdfdd5b14d8");
    QTest::newRow("192 bits") << "0123456789abcdef01234567" << plain
                              << QByteArray::fromHex(
                                     "02ed391c1dcedd872e0bfed087ce94a3327aeac0aae19c1525fc148591128"
                                     "4c50d8108eee8b6f506ff2c92d6cb84adb13468a477e5bea1e209d7e35d6b40685f");
    QTest::newRow("256 bits") << "0123456789abcdef0123456789abcdef" << plain
                              << QByteArray::fromHex(
                                     "a19e28d3626764698150e354b572504447ccf87cef83ce7d0de06cc01f744b80"
                                     "b772f4deb4123dea1772010dfe3a8429d69349e3d839bd8ab911c8b960dc1d33");
    QTest::newRow("17 bytes of key make 192 bits")
        << "0123456789abcdef0" << QByteArray("hello") + QByteArray(11, '\0')
        << QByteArray::fromBase64("4o9ssVeElvk8ggRy+7hc7g==");
}

void TestAes::vectors()
{
    QFETCH(QString, key);
    QFETCH(QByteArray, plain);
    QFETCH(QByteArray, expected);

    QByteArray output = "old content";
    QCOMPARE(&AES::encrypt(key, plain, output), &output);
    QCOMPARE(output, expected);
    // In place, too.
    QCOMPARE(&AES::decrypt(key, output, output), &output);
    QCOMPARE(output, plain);
}

void TestAes::sizes_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("cipherSize");

    QTest::newRow("nothing") << 0 << 0;
    QTest::newRow("part of a block") << 5 << 16;
    QTest::newRow("whole block gets no other") << 16 << 16;
    QTest::newRow("one more") << 17 << 32;
}

void TestAes::sizes()
{
    QFETCH(int, size);
    QFETCH(int, cipherSize);

    const QByteArray input(size, 'x');
    QByteArray cipher;
    QByteArray plain;
    AES::encrypt(input, cipher);
    QCOMPARE(cipher.size(), cipherSize);
    QCOMPARE(AES::decrypt(cipher, plain), input + QByteArray(cipherSize - size, '\0'));
    QCOMPARE(AES::decrypt(AES::machineKey(), cipher, plain), input + QByteArray(cipherSize - size, '\0'));
}

void TestAes::partialBlock()
{
    const QString key = "key";
    QByteArray cipher;
    AES::encrypt(key, QByteArray(32, 'x'), cipher);
    QByteArray whole;
    AES::decrypt(key, cipher.left(21) + QByteArray(11, '\0'), whole);
    QByteArray plain;
    QCOMPARE(AES::decrypt(key, cipher.left(21), plain), whole.left(21) + QByteArray(11, '\0'));
    QVERIFY(plain.startsWith(QByteArray(16, 'x')));
}

void TestAes::textForms()
{
    QCOMPARE(AES::encrypt("key", ""), QString());
    QCOMPARE(AES::decrypt("key", ""), QString());
    QCOMPARE(AES::encrypt("0123456789abcdef0", "hello"), QString("4o9ssVeElvk8ggRy+7hc7g=="));
    const QString cipher = AES::encrypt("ключ", "привет");
    QCOMPARE(AES::decrypt("ключ", cipher), "привет" + QString(4, QChar(0)));
    QVERIFY(!AES::decrypt("другой", cipher).startsWith("привет"));
    QCOMPARE(AES::decrypt(AES::encrypt("0123456789abcdef")), QString("0123456789abcdef"));
    QCOMPARE(AES::decrypt("key", "!?"), QString());
}

void TestAes::keyTooLong()
{
    const QString key(33, 'k');
    QByteArray output;
    QCOMPARE(AES::encrypt(key, "hello", output), zeros16);
    QCOMPARE(AES::decrypt(key, zeros16, output), zeros16);
    QCOMPARE(AES::encrypt(key, "hello"), QString::fromLatin1(zeros16.toBase64()));
}

void TestAes::machineKey_data()
{
    QTest::addColumn<QByteArray>("variable");
    QTest::addColumn<QByteArray>("user");
    QTest::addColumn<QString>("key");

    // The base text XOR the user's name, byte by byte, in Base64, cut at 32: computed apart from this
    // library.
    const QString ann = "Vi8rUl5bWC1fJVgsVShWUy9XIlorUV9d";
    QTest::newRow("USER") << QByteArray("USER") << QByteArray("ann") << ann;
    QTest::newRow("USERNAME") << QByteArray("USERNAME") << QByteArray("ann") << ann;
    QTest::newRow("lower case") << QByteArray("username") << QByteArray("ann") << ann;
    // The narrow environment of Windows has the characters of a code page only.
    if (QSysInfo::kernelType() != "winnt") {
        QTest::newRow("not ASCII") << QByteArray("USER") << QByteArray("жанна")
                                   << QString("5/eVg+CI6f7h9Ob05Pboj5GEk4SVhuGD");
    }
    QTest::newRow("nothing") << QByteArray() << QByteArray() << QString("THQBA3MNfHEAaQEABwAVBgAAdRkHAXQH");
}

void TestAes::machineKey()
{
    QFETCH(QByteArray, variable);
    QFETCH(QByteArray, user);
    QFETCH(QString, key);

    qunsetenv("USER");
    if (!variable.isEmpty()) {
        qputenv(variable.constData(), user);
    }
    const QString actual = AES::machineKey();
    qunsetenv(variable.constData());
    QCOMPARE(actual, key);
}

void TestAes::environmentOrder()
{
    qputenv("USERNAME", "bob");
    const QStringList environment = QProcess::systemEnvironment();
    const bool userFirst = environment.indexOf("USER=ann") < environment.indexOf("USERNAME=bob");
    const QString both = AES::machineKey();
    SetUser(userFirst ? "ann" : "bob");
    QCOMPARE(both, AES::machineKey());
}

void TestAes::pairs()
{
    const QString cipher = AES::encryptPair("name", "va=lue %1");
    QCOMPARE(AES::decryptPair("name", cipher), "va=lue %1" + QString(2, QChar(0)));
    QCOMPARE(AES::decryptPair("Name", cipher), QString());
    QCOMPARE(AES::decryptPair("na", cipher), QString());
    QCOMPARE(AES::decryptPair("name=va", cipher), "lue %1" + QString(2, QChar(0)));
    SetUser("bob");
    QCOMPARE(AES::decryptPair("name", cipher), QString());
}

QTEST_GUILESS_MAIN(TestAes)
#include "tst_aes.moc"
