#include <common/sip/password.h>
#include <common/sip/sipid.h>

#include <QTest>

using tools::sip::Password;
using tools::sip::SipId;

class TestSip : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void check_data();
    void check();
    void patterns();
    void password();
    void parse_data();
    void parse();
    void shorterForms();
};

void TestSip::check_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<SipId::Error>("expected");

    const auto rows = [](SipId::Error expected, const QStringList& ids) {
        for (const QString& id : ids) {
            QTest::addRow("%.40s, %lld", qPrintable(id), qlonglong{id.size()}) << id << expected;
        }
    };
    const QString label63(63, 'x');
    rows(SipId::NoError, {"a@b.quollsip.com", "A@B.QUOLLSIP.COM", "a@quollsip.com", "a@b.c.d.quollsip.ru",
                          "a.b.c@quollsip.com", "a‘b@quollsip.com", "-0&=+$,;?_!~*()%{}/'@quollsip.com",
                          "a@quollsip.com:99999", "a@" + label63 + ".quollsip.com"});
    // Foreign, unfinished or ill-formed, but nothing that may not be typed. A second "@" is no symbol error.
    rows(SipId::FormatError,
         {"a@b.example.com", "a@quollsip.b.com", "a@myquollsip.com", "a@quollsip.c", "a@quollsip.comma",
          "a@x" + label63 + ".quollsip.com", "a@b-.quollsip.com", ".a@quollsip.com", "a.@quollsip.com",
          "a..b@quollsip.com", "a", "a@", "@quollsip.com", "a@b@quollsip.com", "a@quollsip.com:05060",
          "a@quollsip.com:", QString(255, 'a'), QString(255, 'a') + ":12345"});
    rows(SipId::SymbolError, {"a b@quollsip.com", "a\\b@quollsip.com", "а@quollsip.com", "a@b+c.quollsip.com",
                              "a@b_c.com", "a@quollsip.com\n", "a@quollsip.com" + QString(QChar(0)),
                              QString(QChar(0xD800)) + "@quollsip.com", QString(100000, QChar(0xDC00))});
    rows(SipId::LengthError, {"", QString(256, 'a'), "a@quollsip.com:123456", "a@quollsip.com:1:2",
                              QString("a.").repeated(50000), QString(100000, '@')});
}

void TestSip::check()
{
    QFETCH(QString, id);
    QFETCH(SipId::Error, expected);

    QCOMPARE(SipId::Check(id), expected);
    QCOMPARE(SipId::IsValid(id), expected == SipId::NoError);
}

// What the patterns accept that Check and the address parser do not show.
void TestSip::patterns()
{
    const auto verify = [](const QRegExp& pattern, const QStringList& accepted, const QStringList& refused) {
        for (const QString& text : accepted + refused) {
            QVERIFY2(pattern.exactMatch(text) == accepted.contains(text), qPrintable(text));
        }
    };
    verify(SipId::QuollSipIDRegExp(), {"a@quollsip.com:1:2", "a@b.quollsip.com"}, {"a@quollsip.com:1:2:3"});
    verify(SipId::IDWithoutPortRegExp(), {"sip:a@b.com,12#"}, {"a@b.com:5060"});
    verify(SipId::SymbolRegExp(), {"", "a@b:"}, {"a:b"});
    verify(SipId::NumericNumberRegExp(), {"", "+7 (495) 123-45,67#*"}, {"123a"});
    verify(SipId::NumericSipRegExp(), {"000 12"}, {"1000"});
    verify(Password::PasswordSymbolRegExp(), {"", QString(100, 'a')}, {"a b"});
}

void TestSip::password()
{
    // All punctuation, and Cyrillic in both cases; io lies outside its range.
    const QStringList good{"abcdef12", QString(20, 'a'), "парольЯА", "-!@#$%^&*()_+=;:,./?", "\\|`~[]{}"};
    const QStringList bad{"",          "abcdef1",    QString(21, 'a'), "ёaaaaaaa",
                          "abcd efgh", "abcd\"efgh", "abcd'efgh"};
    for (const QString& text : good + bad) {
        QVERIFY2(Password::IsGood(text) == good.contains(text), qPrintable(text));
    }
}

void TestSip::parse_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("parts"); // user|domain|name|extension|port; the user alone if not understood

    const auto row = [](const char* name, const QString& text, const QString& parts) {
        QTest::newRow(name) << text << parts;
    };
    row("name-addr without scheme or name", "<ann@b.com>", "ann|b.com|||");
    row("quotes in the name, blanks, parameters", "\"A \"B\" C\" <SIP:  a@b.com:5060;transport=tcp;x>",
        "a|b.com|A \"B\" C||5060");
    row("identifier with port and dial digits", " sip: a.b@c.d.com:5060,, 12 #,\n",
        "a.b|c.d.com||,,12#|5060");
    row("Skype link with the short domain", "SKYPE: Some.Name@skype", "Some.Name|skype.com|||old");
    row("long Skype domain is an identifier", "name@skype.com", "name|skype.com|||");
    row("phone number", "+ +49123*#,,,", "49123*#||||old");
    row("phone number with dial digits", "123,4 5#", "123|||,45#|old");
    row("single digit behind the comma is a user", "123,4", "123,4||||old");
    row("lone user with at signs behind", "ann@@", "ann||||old");

    row("quoted name without an address", "\"Ann\" a@b.com", "\"Ann\" a@b.com");
    row("short Skype domain without the scheme", " name@skype ", "name@skype");
    row("long hostile run", QString("a.").repeated(5000), QString("a.").repeated(5000));
}

void TestSip::parse()
{
    QFETCH(QString, text);
    QFETCH(QString, parts);

    QString user = "old";
    QString domain = "old";
    QString name = "old";
    QString extension = "old";
    QString port = "old"; // stays where the form has no port
    const bool ok = SipId::ParseURIEx(text, user, domain, name, extension, port);
    QCOMPARE(QStringList({user, domain, name, extension, port}).join('|'), ok ? parts : parts + "||||old");
    QCOMPARE(ok, parts.contains('|'));
}

void TestSip::shorterForms()
{
    QString user;
    QString domain;
    QString name;
    QString extension;
    QVERIFY(SipId::ParseURIEx("a@b.com:5060,12", user, domain, name, extension));
    QCOMPARE(domain + ' ' + extension, "b.com:5060 ,12");
    QVERIFY(SipId::ParseURI("a@c.com:5060", user, domain, name));
    QCOMPARE(domain, "c.com:5060");
    QVERIFY(!SipId::ParseURI(" not an address ", user, domain, name));
    QCOMPARE(user + '|' + domain, "not an address|");
}

QTEST_GUILESS_MAIN(TestSip)
#include "tst_sip.moc"
