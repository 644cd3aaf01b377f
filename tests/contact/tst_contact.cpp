#include <common/contact/icontactcontext.h>
#include <common/contact/inumbercontext.h>

#include <QTest>

namespace contact = common::contact;
namespace number = common::contact::number;

class TestContact : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void numberContext_data();
    void numberContext();
    void fromText_data();
    void fromText();
    void displayName_data();
    void displayName();
    void contactForwards();
};

void TestContact::numberContext_data()
{
    QTest::addColumn<QStringList>("parts"); // number, domain, extension
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("displayText");
    QTest::addColumn<QString>("fullAddress");

    const QString service = QStringLiteral(SERVICE_SIP_DOMAIN);
    const QString external = QStringLiteral(EXTERNAL_SERVICE_SIP_DOMAIN);
    const auto row = [](const char* name, const QStringList& parts, int kind, const QString& address,
                        const QString& displayText, const QString& fullAddress) {
        QTest::newRow(name) << parts << kind << address << displayText << fullAddress;
    };
    row("service", {"123", service, ""}, number::ServiceNumber, "123@" + service, "123@" + service,
        "123@" + service);
    row("service in capitals with blanks", {" Ann ", ' ' + service.toUpper() + ' ', ""},
        number::ServiceNumber, "Ann@" + service, "Ann@" + service, "Ann@" + service);
    row("service sub-domain", {"123", "sub." + service, ""}, number::ServiceNumber, "123@sub." + service,
        "123@sub." + service, "123@sub." + service);
    row("external domain is foreign", {"123", external, ""}, number::PhoneNumber, "123", "123",
        "123@" + external);
    row("external domain with a port is inside", {"123", external + ":5060", ""}, number::ServiceNumber,
        "123@" + external + ":5060", "123@" + external + ":5060", "123@" + external + ":5060");
    row("name on a foreign domain", {"ann", "b.com", ""}, number::SipAddress, "ann@b.com", "ann@b.com",
        "ann@b.com");
    row("number on a foreign domain", {"123", "b.com", ""}, number::PhoneNumber, "123", "123", "123@b.com");
    row("name without a domain", {"Ann", "", ""}, number::SipAddress, "Ann", "Ann", "Ann");
    row("000 prefix", {"00012", "", ""}, number::SipAddress, "00012", "00012", "00012");
    row("written number", {"+7 (495) 12-34", "", ""}, number::PhoneNumber, "+7 (495) 12-34", "+7 (495) 12-34",
        "+7 (495) 12-34");
    row("extension", {"123", "", ", 4x5G #a"}, number::PhoneNumber, "123,45#a", "123,45#a", "123,45#a");
    row("extension falls with a domain", {"123", "b.com", ",45"}, number::PhoneNumber, "123,45", "123,45",
        "123@b.com");
    row("Skype name", {"Some.Name", "SkyPe", ""}, number::SkypeName, "some.name", "skype: some.name",
        "some.name@skype");
    row("Skype name, long domain", {"A", "skype.com", ",12"}, number::SkypeName, "a", "skype: a",
        "a@skype.com");
    row("empty", {"", "", ""}, number::PhoneNumber, "", "", "");
}

void TestContact::numberContext()
{
    QFETCH(QStringList, parts);
    QFETCH(int, kind);
    QFETCH(QString, address);
    QFETCH(QString, displayText);
    QFETCH(QString, fullAddress);

    const auto context = number::CreateInstance(parts.at(0), parts.at(1), parts.at(2));
    QCOMPARE(context->Kind(), kind);
    QCOMPARE(context->Address(), address);
    QCOMPARE(context->DisplayText(), displayText);
    QCOMPARE(context->FullAddress(), fullAddress);
    QVERIFY(context->parent() == nullptr);

    const auto person = contact::CreateInstance(parts.at(0), parts.at(1), QStringLiteral("n"), parts.at(2));
    QCOMPARE(person->Kind(), kind);
    QCOMPARE(person->Address(), address);
    QCOMPARE(person->DisplayText(), displayText);
    QCOMPARE(person->FullAddress(), fullAddress);
    QCOMPARE(person->Number(), context->Number());
    QCOMPARE(person->Domain(), context->Domain());
    QCOMPARE(person->Extension(), context->Extension());
}

void TestContact::fromText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("parts"); // number|domain|extension

    const QString service = QStringLiteral(SERVICE_SIP_DOMAIN);
    QTest::newRow("port stays in the domain")
        << "sip:123@" + service + ":5060" << int(number::ServiceNumber) << "123|" + service + ":5060|";
    QTest::newRow("comma of the extension goes") << "+123,4 5#" << int(number::PhoneNumber) << "123||45#";
    QTest::newRow("not understood") << "  (12) 34 " << int(number::PhoneNumber) << "(12) 34||";
    QTest::newRow("nonsense") << "<>" << int(number::SipAddress) << "<>||";
}

void TestContact::fromText()
{
    QFETCH(QString, text);
    QFETCH(int, kind);
    QFETCH(QString, parts);

    const auto context = number::CreateInstance(text);
    QCOMPARE(context->Kind(), kind);
    QCOMPARE(QStringList({context->Number(), context->Domain(), context->Extension()}).join(u'|'), parts);
}

void TestContact::displayName_data()
{
    QTest::addColumn<QString>("uri");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");

    QTest::newRow("a name") << "ann@b.com"
                            << "Ann"
                            << "Ann";
    QTest::newRow("no name") << "ann@b.com"
                             << ""
                             << "";
    QTest::newRow("repeats the number") << "sip:ann@b.com"
                                        << "ann"
                                        << "";
    QTest::newRow("differs in case only") << "ann@b.com"
                                          << "ANN"
                                          << "ANN";
    QTest::newRow("name inside the address is dropped") << "\"Bob\" <sip:ann@b.com>"
                                                        << ""
                                                        << "";
}

void TestContact::displayName()
{
    QFETCH(QString, uri);
    QFETCH(QString, name);
    QFETCH(QString, expected);

    const auto person = contact::CreateInstance(uri, name);
    QCOMPARE(person->DisplayName(), expected);
    QCOMPARE(person->Name(), name);
}

void TestContact::contactForwards()
{
    const auto person = contact::CreateInstance(QStringLiteral("ann@b.com"), QString());
    int value = 0;
    QCOMPARE(person->PassThrough(&value), &value);
    QVERIFY(!person->IsMarked());
    QCOMPARE(person->Ringtone(), QStringLiteral(":/ringtones/Ringtone Default.wav"));
}

QTEST_GUILESS_MAIN(TestContact)
#include "tst_contact.moc"
