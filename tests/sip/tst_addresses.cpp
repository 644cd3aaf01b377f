#include <common/contact/icontactcontext.h>
#include <common/contact/inumbercontext.h>
#include <common/sip/password.h>
#include <common/sip/sipid.h>
#include <common/tools/web.h>

#include <table.h>

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
    void password();
    void parse_data();
    void parse();
    void numberContext_data();
    void numberContext();
    void contextOfText();
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
    verify(SipId::NoError, {"A@b.QUOLLSIP.com", "a@b.c.d.quollsip.ru", "a.b‘c@quollsip.com",
                            "-0&=+$,;?_!~*()%{}/'@quollsip.com:99999", "a@" + label63 + ".quollsip.com"});
    // These identifiers are foreign, incomplete or ill-formed, but all their symbols are valid. A second "@"
    // is not a symbol error.
    verify(SipId::FormatError,
           {"a@b.example.com", "a@quollsip.b.com", "a@myquollsip.com", "a@quollsip.c", "a@quollsip.comma",
            "a@x" + label63 + ".quollsip.com", "a@b-.quollsip.com", ".a@quollsip.com", "a..b@quollsip.com",
            "a@", "@b_c.com", "a@b@quollsip.com", "a@quollsip.com:05060", QString(255, 'a')});
    verify(SipId::SymbolError, {"a b@quollsip.com", "а@quollsip.com", "a@b_c.com", "a@quollsip.com\n",
                                "a@quollsip.com" + QString(QChar(0)), QString(100000, QChar(0xDC00))});
    verify(SipId::LengthError, {"", QString(256, 'a'), "a@quollsip.com:123456", "a@quollsip.com:1:2",
                                QString("a.").repeated(50000), QString(100000, '@')});
}

void TestAddresses::password()
{
    // The good passwords include all punctuation and both Cyrillic cases. "ё" is outside the range.
    const QStringList good{"abcdef12", QString(20, 'a'), "парольЯА", "-!@#$%^&*()_+=;:,./?", "\\|`~[]{}"};
    const QStringList bad{"abcdef1", QString(21, 'a'), "ёaaaaaaa", "abcd efgh", "abcd\"efgh", "abcd'efgh"};
    for (const QString& text : good + bad) {
        QVERIFY2(Password::IsGood(text) == good.contains(text), qPrintable(text));
    }
}

void TestAddresses::parse_data()
{
    // The parts are user|domain|name|extension|port, or only the user if the text cannot be parsed.
    const Table<QString, QString> row("text", "parts");
    row("quotes in the name, blanks, parameters", "\"A \"B\" C\" <SIP:  a@b.com:5060;transport=tcp;x>",
        "a|b.com|A \"B\" C||5060");
    row("identifier with port and dial digits", " sip: a.b@c.d.com:5060,,\t12\u2003 #,\n",
        "a.b|c.d.com||,,12\u2003#|5060");
    row("Skype link with the short domain", "SKYPE: Some.Name@skype", "Some.Name|skype.com|||old");
    row("long Skype domain is an identifier", "name@skype.com", "name|skype.com|||");
    row("phone number with dial digits", "+ +123*#,4 5#,", "123*#|||,45#|old");
    row("single digit behind the comma is a user", "123,4", "123,4||||old");
    row("lone user with at signs behind", "ann@@", "ann||||old");
    row("quoted name without an address", "\"Ann\" a@b.com", "\"Ann\" a@b.com");
    row("short Skype domain without the scheme", " name@skype ", "name@skype");
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
    QString port = "old"; // Stays unchanged for forms without a port.
    const bool ok = SipId::ParseURIEx(text, user, domain, name, extension, port);
    QCOMPARE(QStringList({user, domain, name, extension, port}).join('|'), ok ? parts : parts + "||||old");
    QCOMPARE(ok, parts.contains('|'));

    // The overload without a port parameter leaves the port in the domain.
    const QString address = port.isEmpty() || port == "old" ? domain : domain + ':' + port;
    QCOMPARE(SipId::ParseURIEx(text, user, domain, name, extension), ok);
    QCOMPARE(domain, address);
}

void TestAddresses::numberContext_data()
{
    // Columns: number|domain|extension; kind; address|full address|extension.
    const Table<QString, int, QString> row("parts", "kind", "expected");
    const QString service = SERVICE_SIP_DOMAIN;
    const QString external = EXTERNAL_SERVICE_SIP_DOMAIN;
    row("service in capitals with blanks", " Ann | " + service.toUpper() + " |1", number::ServiceNumber,
        QString("Ann@%1|Ann@%1|1").arg(service));
    row("service sub-domain and port", "1|b." + service + ":5060|", number::ServiceNumber,
        QString("1@b.%1:5060|1@b.%1:5060|").arg(service));
    row("external domain is foreign", "1|" + external + '|', number::PhoneNumber, "1|1@" + external + '|');
    row("number on a foreign domain", "123|b.com|,45", number::PhoneNumber, "123,45|123@b.com|45");
    row("name on a foreign domain", "ann|b.com|,1", number::SipAddress, "ann@b.com|ann@b.com|1");
    row("000 prefix", "00012||", number::SipAddress, "00012|00012|");
    row("written number", "+7 (495) 12-34||, 4x5G #a", number::PhoneNumber,
        "+7 (495) 12-34,45#a|+7 (495) 12-34,45#a|45#a");
    row("Skype name", "Some.Name|SkyPe|", number::SkypeName, "some.name|some.name@skype|");
}

void TestAddresses::numberContext()
{
    QFETCH(QString, parts);
    QFETCH(int, kind);
    QFETCH(QString, expected);

    const auto verify = [&](const auto& context) {
        QCOMPARE(context->Kind(), kind);
        QCOMPARE(context->Address() + '|' + context->FullAddress() + '|' + context->Extension(), expected);
    };
    const QStringList split = parts.split('|');
    verify(number::CreateInstance(split.at(0), split.at(1), split.at(2)));
    verify(contact::CreateInstance(split.at(0), split.at(1), "name", split.at(2)));
}

void TestAddresses::contextOfText()
{
    QCOMPARE(number::CreateInstance("  (12) 34 ")->Address(), "(12) 34");
    // A name that only repeats the number is not shown, and no name is taken from the address.
    for (const auto& [name, shown] : {std::pair("Bob", "Bob"), {"", ""}, {"ann", ""}}) {
        const auto person = contact::CreateInstance("\"Ann B\" <sip:ann@b.com>", name);
        QCOMPARE(person->DisplayName(), shown);
        QCOMPARE(person->Address(), "ann@b.com");
    }
}

void TestAddresses::webAddresses()
{
    QCOMPARE(Web::GetUrl("a@b.ru", "ru", "other"), "ru");
    QCOMPARE(Web::GetWebServisesUrl("a@b.ru"), "https://" RU_WEB_SERVICES_HOST "/integration/vexline");
    QCOMPARE(Web::GetLocale("\"A\" <sip:a@b.eu;x=y>"), Web::LocaleEu);
    // The domain suffix is not recognised before a port, in capitals or in the middle.
    for (const char* id : {"a@b.ru:5060", "a@b.RU", "a@b.ru.com"}) {
        QCOMPARE(Web::GetLocale(id), Web::LocaleDefault);
        QCOMPARE(Web::GetWebServisesUrl(id), "https://" DEFAULT_WEB_SERVICES_HOST "/integration/vexline");
    }
}

QTEST_GUILESS_MAIN(TestAddresses)
#include "tst_addresses.moc"
