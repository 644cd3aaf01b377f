#include <common/sip/sipid.h>

#include <QTest>

using tools::sip::SipId;

class TestSipUri : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parse_data();
    void parse();
    void portKeepsItsOldValue();
    void portBehindDomain();
};

void TestSipUri::parse_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QString>("parts"); // user|domain|name|extension|port

    const auto understood = [](const char* name, const QString& text, const char* parts) {
        QTest::newRow(name) << text << true << QString::fromUtf8(parts);
    };
    const auto refused = [](const char* name, const QString& text, const QString& user) {
        QTest::newRow(name) << text << false << user + "||||";
    };

    understood("name-addr", "\"Ann B\" <sip:ann@b.com>", "ann|b.com|Ann B||");
    understood("name-addr without scheme or name", "<ann@b.com>", "ann|b.com|||");
    understood("name-addr: parameters are dropped, port is split", "\"A\" <sip:a@b.com:5060;transport=tcp;x>",
               "a|b.com|A||5060");
    understood("name-addr: upper-case scheme with blanks", "<SIP:  a@b.com>", "a|b.com|||");
    understood("name-addr: quotes inside the name", "\"A \"B\" C\" <sip:a@b.com>", "a|b.com|A \"B\" C||");
    understood("identifier", "a.b@c.d.com", "a.b|c.d.com|||");
    understood("identifier with scheme and port", "sip: a@b.com:5060", "a|b.com|||5060");
    understood("identifier with dial digits", "a@b.com:5060,, 12 #,", "a|b.com||,,12#|5060");
    understood("numeric identifier is no phone number", "123@b.com", "123|b.com|||");
    understood("white space around", "  a@b.com\n", "a|b.com|||");
    understood("Skype link", "skype: Some.Name", "Some.Name|skype.com|||");
    understood("Skype link with the short domain", "SKYPE:name@skype", "name|skype.com|||");
    understood("long Skype domain is an identifier", "name@skype.com", "name|skype.com|||");
    understood("phone number", "+ +49123*#", "49123*#||||");
    understood("phone number with dial digits", "123,4 5#", "123|||,45#|");
    understood("phone number with commas behind", "123,,,", "123||||");
    understood("single digit behind the comma is a user", "123,4", "123,4||||");
    understood("lone user", "ann", "ann||||");
    understood("lone user with at signs behind", "ann@@", "ann||||");

    refused("empty", "", "");
    refused("only blanks", "  ", "");
    refused("quoted name without an address", "\"Ann\" a@b.com", "\"Ann\" a@b.com");
    refused("short Skype domain without the scheme", " name@skype ", "name@skype");
    refused("number with blanks inside", "123 45", "123 45");
    refused("port with a leading zero", "a@b.com:05060", "a@b.com:05060");
    refused("domain of one label", "a@host", "a@host");
    refused("unclosed bracket", "<sip:a@b.com", "<sip:a@b.com");
    refused("lone surrogate", QString(QChar(0xD800)), QString(QChar(0xD800)));
    refused("long hostile run", QStringLiteral("a.").repeated(5000) + " ",
            QStringLiteral("a.").repeated(5000));
}

void TestSipUri::parse()
{
    QFETCH(QString, text);
    QFETCH(bool, ok);
    QFETCH(QString, parts);

    QString user = "old";
    QString domain = "old";
    QString name = "old";
    QString extension = "old";
    QString port;
    QCOMPARE(SipId::ParseURIEx(text, user, domain, name, extension, port), ok);
    QCOMPARE(QStringList({user, domain, name, extension, port}).join(u'|'), parts);
}

void TestSipUri::portKeepsItsOldValue()
{
    QString user;
    QString domain;
    QString name;
    QString extension;
    QString port = "7";
    QVERIFY(SipId::ParseURIEx("ann", user, domain, name, extension, port));
    QCOMPARE(port, "7");
    QVERIFY(SipId::ParseURIEx("a@b.com", user, domain, name, extension, port));
    QCOMPARE(port, "");
}

void TestSipUri::portBehindDomain()
{
    QString user;
    QString domain;
    QString name;
    QString extension;
    QVERIFY(SipId::ParseURIEx("a@b.com:5060,12", user, domain, name, extension));
    QCOMPARE(domain, "b.com:5060");
    QCOMPARE(extension, ",12");
    QVERIFY(SipId::ParseURI("a@b.com:5060", user, domain, name));
    QCOMPARE(domain, "b.com:5060");
    QVERIFY(!SipId::ParseURI(" not an address ", user, domain, name));
    QCOMPARE(user, "not an address");
    QCOMPARE(domain, "");
}

QTEST_GUILESS_MAIN(TestSipUri)
#include "tst_sipuri.moc"
