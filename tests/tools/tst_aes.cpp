#include <common/tools/aes.h>

#include <QTest>

using tools::cipher::AES;

namespace
{

/// Makes `user` the name of the logged-in user.
void SetUser(const QByteArray& user, const char* variable = "USER")
{
    for (const char* name : {"USER", "USERNAME", "user", "UserName"}) {
        qunsetenv(name);
    }
    qputenv(variable, user);
}

} // namespace

class TestAes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void vectors();
    void textForms();
    void machineKey();
    void pairs();
};

void TestAes::vectors()
{
    const auto verify = [](const QString& key, const QByteArray& plain, const char* cipher) {
        QByteArray bytes = plain;
        QCOMPARE(&AES::encrypt(key, bytes, bytes), &bytes);
        QCOMPARE(bytes.toBase64(), cipher);
        QCOMPARE(&AES::decrypt(key, bytes, bytes), &bytes);
        QCOMPARE(bytes, plain.leftJustified(bytes.size(), '\0'));
    };
    // The plain text of NIST SP 800-38A, F.2; its own keys are no UTF-8 and its vector is another, so these
    // were made with: xxd -r -p | openssl enc -a -A -aes-128-cbc -nopad -K HEX_OF_KEY -iv
    // 43344431374530394132423634383346 (or -aes-192-cbc, -aes-256-cbc), the key filled up with zero bytes.
    const QByteArray plain =
        QByteArray::fromHex("6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                            "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710");
    verify("0123456789abcdef", plain,
           "19FwdbK9lNJH0D7QZjwpVqESifv7PKCvSXxC+6X7VIT2WwacevEY0GoXhzUdiD0BMuFVREVzEI+wRVzf3VsU2A==");
    verify("0123456789abcdef01234567", plain,
           "Au05HB3O3YcuC/7Qh86UozJ66sCq4ZwVJfwUhZEShMUNgQju6Lb1Bv8sktbLhK2xNGikd+W+oeIJ1+Nda0BoXw==");
    verify("0123456789abcdef0123456789abcdef", plain,
           "oZ4o02JnZGmBUONUtXJQREfM+Hzvg859DeBswB90S4C3cvTetBI96hdyAQ3+OoQp1pNJ49g5vYq5Eci5YNwdMw==");
    verify("0123456789abcdef0", "hello", "4o9ssVeElvk8ggRy+7hc7g=="); // 17 bytes make 192 bits
    verify("k", "", "");

    QByteArray zeros;
    const QString tooLong = QString(15, 'k') + "жжжжжжжжж"; // 33 bytes
    QCOMPARE(AES::encrypt(tooLong, "hello", zeros), QByteArray(16, '\0'));
    QCOMPARE(AES::decrypt(tooLong, QByteArray(17, 'x'), zeros), QByteArray(32, '\0'));
}

void TestAes::textForms()
{
    QCOMPARE(AES::encrypt("key", ""), "");
    QCOMPARE(AES::encrypt("0123456789abcdef0", "hello"), "4o9ssVeElvk8ggRy+7hc7g==");
    const QString cipher = AES::encrypt("ключ", "привет");
    QCOMPARE(AES::decrypt("ключ", cipher), "привет" + QString(4, QChar(0)));
    QVERIFY(!AES::decrypt("другой", cipher).startsWith("привет"));
    // Damaged: the last block is not whole.
    QCOMPARE(AES::decrypt("key", AES::encrypt("key", QString(32, 'x')).left(28)).left(16), QString(16, 'x'));
}

void TestAes::machineKey()
{
    // The base text XOR the user's name, byte by byte, in Base64, cut at 32: computed apart from this
    // library.
    const QString key = "Vi8rUl5bWC1fJVgsVShWUy9XIlorUV9d";
    for (const char* variable : {"USER", "user", "UserName"}) {
        SetUser("ann", variable);
        QCOMPARE(AES::machineKey(), key);
    }
    SetUser("");
    QCOMPARE(AES::machineKey(), "THQBA3MNfHEAaQEABwAVBgAAdRkHAXQH");
    // The narrow environment of Windows has the characters of a code page only.
    SetUser("жанна");
    QVERIFY(AES::machineKey() == "5/eVg+CI6f7h9Ob05Pboj5GEk4SVhuGD" || QSysInfo::kernelType() == "winnt");
    // The first of the environment counts, whatever its name; Windows sorts by name.
    SetUser("ann", "USERNAME");
    qputenv("USER", "bob");
    QVERIFY(AES::machineKey() == key || QSysInfo::kernelType() == "winnt");

    SetUser("ann");
    QByteArray bytes;
    QCOMPARE(AES::encrypt("hello"), AES::encrypt(key, "hello"));
    QCOMPARE(AES::encrypt("hello", bytes).toBase64(), AES::encrypt(key, "hello").toLatin1());
    QCOMPARE(AES::decrypt(bytes, bytes), "hello" + QByteArray(11, '\0'));
    QCOMPARE(AES::decrypt(AES::encrypt("0123456789abcdef")), "0123456789abcdef");
}

void TestAes::pairs()
{
    const QString cipher = AES::encryptPair("name", "va=lue %1");
    QCOMPARE(AES::decryptPair("name", cipher), "va=lue %1" + QString(2, QChar(0)));
    QCOMPARE(AES::decryptPair("name=va", cipher), "lue %1" + QString(2, QChar(0)));
    QCOMPARE(AES::decryptPair("Name", cipher), "");
    QCOMPARE(AES::decryptPair("na", cipher), "");
    SetUser("bob");
    QCOMPARE(AES::decryptPair("name", cipher), "");
}

QTEST_GUILESS_MAIN(TestAes)
#include "tst_aes.moc"
