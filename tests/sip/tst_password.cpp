#include <common/sip/password.h>

#include <QTest>

using tools::sip::Password;

class TestPassword : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isGood_data();
    void isGood();
    void symbols();
};

void TestPassword::isGood_data()
{
    QTest::addColumn<QString>("password");
    QTest::addColumn<bool>("expected");

    QTest::newRow("7") << "abcdef1" << false;
    QTest::newRow("8") << "abcdef12" << true;
    QTest::newRow("20") << QString(20, u'a') << true;
    QTest::newRow("21") << QString(21, u'a') << false;
    QTest::newRow("Cyrillic in both cases") << u"\u043F\u0430\u0440\u043E\u043B\u044C\u042F\u0410"_qs << true;
    QTest::newRow("Cyrillic io lies outside the range") << u"\u0451aaaaaaa"_qs << false;
    QTest::newRow("all punctuation, first half") << "-!@#$%^&*()_+=;:,./?" << true;
    QTest::newRow("all punctuation, second half") << "\\|`~[]{}" << true;
    QTest::newRow("blank") << "abcd efgh" << false;
    QTest::newRow("quotes") << "abcd\"efgh" << false;
    QTest::newRow("apostrophe") << "abcd'efgh" << false;
    QTest::newRow("empty") << "" << false;
}

void TestPassword::isGood()
{
    QFETCH(QString, password);
    QFETCH(bool, expected);

    QCOMPARE(Password::IsGood(password), expected);
}

void TestPassword::symbols()
{
    QVERIFY(Password::PasswordSymbolRegExp().exactMatch(""));
    QVERIFY(Password::PasswordSymbolRegExp().exactMatch(QString(100, u'a')));
    QVERIFY(!Password::PasswordSymbolRegExp().exactMatch("a b"));
}

QTEST_GUILESS_MAIN(TestPassword)
#include "tst_password.moc"
