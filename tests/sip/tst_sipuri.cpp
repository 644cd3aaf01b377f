#include <common/sip/sipid.h>

#include <QTest>

using tools::sip::SipId;

class TestSipUri : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parse_data();
    void parse();
    void shorterForms();
};

void TestSipUri::parse_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("parts"); // user|domain|name|extension|port; the user alone if not understood

    const auto row = [](const char* name, const QString& text, const QString& parts) {
        QTest::newRow(name) << text << parts;
    };
    row("name-addr without scheme or name", "<ann@b.com>", "ann|b.com|||");
    row("parameters are dropped", "\"A B\" <sip:a@b.com:5060;transport=tcp;x>", "a|b.com|A B||5060");
    row("quotes in the name, blanks behind the scheme", "\"A \"B\" C\" <SIP:  a@b.com>",
        "a|b.com|A \"B\" C||");
    row("identifier with port and dial digits", " sip: a.b@c.d.com:5060,, 12 #,\n",
        "a.b|c.d.com||,,12#|5060");
    row("numeric identifier is no phone number", "123@b.com", "123|b.com|||");
    row("Skype link", "skype: Some.Name", "Some.Name|skype.com|||old");
    row("Skype link with the short domain", "SKYPE:name@skype", "name|skype.com|||old");
    row("long Skype domain is an identifier", "name@skype.com", "name|skype.com|||");
    row("phone number", "+ +49123*#,,,", "49123*#||||old");
    row("phone number with dial digits", "123,4 5#", "123|||,45#|old");
    row("single digit behind the comma is a user", "123,4", "123,4||||old");
    row("lone user with at signs behind", "ann@@", "ann||||old");

    row("only blanks", "  ", "");
    row("quoted name without an address", "\"Ann\" a@b.com", "\"Ann\" a@b.com");
    row("short Skype domain without the scheme", " name@skype ", "name@skype");
    row("number with blanks inside", "123 45", "123 45");
    row("port with a leading zero", "a@b.com:05060", "a@b.com:05060");
    row("long hostile run", QString("a.").repeated(5000), QString("a.").repeated(5000));
}

void TestSipUri::parse()
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

void TestSipUri::shorterForms()
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

QTEST_GUILESS_MAIN(TestSipUri)
#include "tst_sipuri.moc"
