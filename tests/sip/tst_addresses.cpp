#include <common/contact/icontactcontext.h>
#include <common/contact/inumbercontext.h>
#include <common/sip/password.h>
#include <common/sip/sipid.h>
#include <common/tools/web.h>

#include <QTest>

namespace contact = common::contact;
namespace number = common::contact::number;
using tools::sip::Password;
using tools::sip::SipId;
using tools::web::Web;

class TestAddresses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void check();
    void patterns();
    void password();
    void parse_data();
    void parse();
    void shorterForms();
    void numberContext_data();
    void numberContext();
    void contactContext();
    void webAddresses();
};

void TestAddresses::check()
{
    const auto verify = [](SipId::Error expected, const QStringList& ids) {
        for (const QString& id : ids) {
            QVERIFY2(SipId::Check(id) == expected, qPrintable(id.left(100)));
            QCOMPARE(SipId::IsValid(id), expected == SipId::NoError);
        }
    };
    const QString label63(63, 'x');
    verify(SipId::NoError, {"a@b.quollsip.com", "A@B.QUOLLSIP.COM", "a@quollsip.com", "a@b.c.d.quollsip.ru",
                            "a.b.c@quollsip.com", "a‘b@quollsip.com", "-0&=+$,;?_!~*()%{}/'@quollsip.com",
                            "a@quollsip.com:99999", "a@" + label63 + ".quollsip.com"});
    // Foreign, unfinished or ill-formed, but nothing that may not be typed. A second "@" is no symbol error.
    verify(SipId::FormatError,
           {"a@b.example.com", "a@quollsip.b.com", "a@myquollsip.com", "a@quollsip.c", "a@quollsip.comma",
            "a@x" + label63 + ".quollsip.com", "a@b-.quollsip.com", ".a@quollsip.com", "a.@quollsip.com",
            "a..b@quollsip.com", "a", "a@", "@quollsip.com", "@b_c.com", "a@b@quollsip.com",
            "a@quollsip.com:05060", "a@quollsip.com:", QString(255, 'a'), QString(255, 'a') + ":12345"});
    verify(SipId::SymbolError,
           {"a b@quollsip.com", "a\\b@quollsip.com", "а@quollsip.com", "a@b+c.quollsip.com", "a@b_c.com",
            "a@quollsip.com\n", "a@quollsip.com" + QString(QChar(0)),
            QString(QChar(0xD800)) + "@quollsip.com", QString(100000, QChar(0xDC00))});
    verify(SipId::LengthError, {"", QString(256, 'a'), "a@quollsip.com:123456", "a@quollsip.com:1:2",
                                QString("a.").repeated(50000), QString(100000, '@')});
}

// What the patterns accept that Check and the address parser do not show.
void TestAddresses::patterns()
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

void TestAddresses::password()
{
    // All punctuation, and Cyrillic in both cases; io lies outside its range.
    const QStringList good{"abcdef12", QString(20, 'a'), "парольЯА", "-!@#$%^&*()_+=;:,./?", "\\|`~[]{}"};
    const QStringList bad{"",          "abcdef1",    QString(21, 'a'), "ёaaaaaaa",
                          "abcd efgh", "abcd\"efgh", "abcd'efgh"};
    for (const QString& text : good + bad) {
        QVERIFY2(Password::IsGood(text) == good.contains(text), qPrintable(text));
    }
}

void TestAddresses::parse_data()
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
    row("port of six digits", "a@b.com:123456", "a@b.com:123456");
    row("long hostile run", QString("a.").repeated(5000), QString("a.").repeated(5000));
}

void TestAddresses::parse()
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

void TestAddresses::shorterForms()
{
    QString user;
    QString domain;
    QString name;
    QString extension;
    QVERIFY(SipId::ParseURIEx("a@b.com:5060,12", user, domain, name, extension));
    QCOMPARE(domain + ' ' + extension, "b.com:5060 ,12");
    QVERIFY(!SipId::ParseURI(" not an address ", user, domain, name));
    QCOMPARE(user + '|' + domain, "not an address|");
}

void TestAddresses::numberContext_data()
{
    QTest::addColumn<QString>("parts"); // number|domain|extension, or a text to be parsed
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("expected"); // address|full address|number|domain|extension

    const auto row = [](const char* name, const QString& parts, int kind, const QString& expected) {
        QTest::newRow(name) << parts << kind << expected;
    };
    const QString service = SERVICE_SIP_DOMAIN;
    const QString external = EXTERNAL_SERVICE_SIP_DOMAIN;
    const QString ann = "Ann@" + service;
    row("service in capitals with blanks", " Ann | " + service.toUpper() + " |1", number::ServiceNumber,
        ann + '|' + ann + "|Ann|" + service + "|1");
    row("service sub-domain and port", "1@b." + service + ":5060", number::ServiceNumber,
        QString("1@b.%1:5060|1@b.%1:5060|1|b.%1:5060|").arg(service));
    row("external domain is foreign", "1|" + external + '|', number::PhoneNumber,
        QString("1|1@%1|1|%1|").arg(external));
    row("external domain with a port is inside", "1|" + external + ":5060|", number::ServiceNumber,
        QString("1@%1:5060|1@%1:5060|1|%1:5060|").arg(external));
    row("number on a foreign domain", "123|b.com|,45", number::PhoneNumber, "123,45|123@b.com|123|b.com|45");
    row("name on a foreign domain", "ann|b.com|,1", number::SipAddress, "ann@b.com|ann@b.com|ann|b.com|1");
    row("000 prefix", "00012||", number::SipAddress, "00012|00012|00012||");
    row("written number", "+7 (495) 12-34||, 4x5G #a", number::PhoneNumber,
        "+7 (495) 12-34,45#a|+7 (495) 12-34,45#a|+7 (495) 12-34||45#a");
    row("Skype name", "Some.Name|SkyPe|", number::SkypeName, "some.name|some.name@skype|some.name|skype|");
    row("Skype link", "skype:A", number::SkypeName, "a|a@skype.com|a|skype.com|");
    row("text that is not understood", "  (12) 34 ", number::PhoneNumber, "(12) 34|(12) 34|(12) 34||");
}

void TestAddresses::numberContext()
{
    QFETCH(QString, parts);
    QFETCH(int, kind);
    QFETCH(QString, expected);

    const auto verify = [&](const auto& context) {
        QCOMPARE(context->Kind(), kind);
        QCOMPARE(QStringList({context->Address(), context->FullAddress(), context->Number(),
                              context->Domain(), context->Extension()})
                     .join('|'),
                 expected);
        const QString prefix = kind == number::SkypeName ? "skype: " : "";
        QCOMPARE(context->DisplayText(), prefix + context->Address());
    };
    const QStringList split = parts.split('|');
    if (split.size() == 3) {
        verify(number::CreateInstance(split.at(0), split.at(1), split.at(2)));
        verify(contact::CreateInstance(split.at(0), split.at(1), "name", split.at(2)));
    } else {
        verify(number::CreateInstance(parts));
        verify(contact::CreateInstance(parts, "name"));
    }
}

void TestAddresses::contactContext()
{
    // No name is taken from the address, and one that only repeats the number is not shown.
    for (const auto& [name, shown] : {std::pair("Bob", "Bob"), {"", ""}, {"ann", ""}, {"ANN", "ANN"}}) {
        const auto person = contact::CreateInstance("\"Ann B\" <sip:ann@b.com>", name);
        QCOMPARE(person->Name(), name);
        QCOMPARE(person->DisplayName(), shown);
        QVERIFY(person->PassThrough(this) == this && !person->IsMarked());
    }
}

void TestAddresses::webAddresses()
{
    const auto verify = [](Web::Locale locale, const QString& id) {
        const bool isRu = locale == Web::LocaleRu;
        const QString host = isRu ? RU_WEB_SERVICES_HOST : DEFAULT_WEB_SERVICES_HOST;
        QCOMPARE(Web::GetLocale(id), locale);
        QCOMPARE(Web::GetUrl(id, "ru", "other"), isRu ? "ru" : "other");
        QCOMPARE(Web::GetWebServisesUrl(id), "https://" + host + "/integration/vexline");
    };
    verify(Web::LocaleRu, "a@b.ru");
    verify(Web::LocaleEu, "\"A\" <sip:a@b.eu;x=y>");
    // A port hides the country, and so do capitals.
    for (const char* id : {"a@b.ru:5060", "a@b.RU", "a@b.ru.com", "b.ru"}) {
        verify(Web::LocaleDefault, id);
    }
}
QTEST_GUILESS_MAIN(TestAddresses)
#include "tst_addresses.moc"
