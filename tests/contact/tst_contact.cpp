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
    void contactContext();
};

void TestContact::numberContext_data()
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

void TestContact::numberContext()
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

void TestContact::contactContext()
{
    // No name is taken from the address, and one that only repeats the number is not shown.
    for (const auto& [name, shown] : {std::pair("Bob", "Bob"), {"", ""}, {"ann", ""}, {"ANN", "ANN"}}) {
        const auto person = contact::CreateInstance("\"Ann B\" <sip:ann@b.com>", name);
        QCOMPARE(person->Name(), name);
        QCOMPARE(person->DisplayName(), shown);
        QVERIFY(person->PassThrough(this) == this && !person->IsMarked());
    }
}

QTEST_GUILESS_MAIN(TestContact)
#include "tst_contact.moc"
