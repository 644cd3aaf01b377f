#include <common/tools/insertionfixupvalidator.h>

#include <common/sip/sipid.h>

#include <table.h>

using namespace Qt::StringLiterals;
using tools::CInsertionFixupValidator;
using tools::sip::SipId;

class TestValidators : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void validate_data();
    void validate();
    void setRegExp();
};

void TestValidators::validate_data()
{
    const Table<QRegExp, QString, QValidator::State, QString> row("pattern", "text", "state", "cleaned");
    const QRegExp code("[a-z]+[0-9]{2}");
    row("whole", code, "ab12", QValidator::Acceptable, "ab12");
    row("beginning", code, "ab", QValidator::Intermediate, "ab");
    row("wrong inside", code, "a-b12", QValidator::Invalid, "ab12");
    row("nothing allowed", QRegExp("[0-9]+"), "hello", QValidator::Invalid, "");
    row("second port sign", SipId::SymbolRegExp(), "a:1:2:3", QValidator::Invalid, "a:123");
    row("surrogates", SipId::AllSymbolRegExp(), u"a\U0001F4DEb"_s, QValidator::Invalid, "ab");
    row("no pattern", QRegExpValidator().regExp(), "a\n%", QValidator::Acceptable, "a\n%");
    row("what fits depends on the rest", QRegExp("a(?!c.)[a-d]+"), "acxcb", QValidator::Invalid, "ab");
    row("a long paste", SipId::PhoneNumberRegExp(), QString("1x").repeated(5000), QValidator::Invalid,
        QString(5000, '1'));
}

void TestValidators::validate()
{
    QFETCH(QRegExp, pattern);
    QFETCH(QString, text);
    QFETCH(QValidator::State, state);
    QFETCH(QString, cleaned);

    QString input = text;
    int pos = -1;
    QCOMPARE(QRegExpValidator(pattern).validate(input, pos), state);
    QCOMPARE(pos, state == QValidator::Invalid ? static_cast<int>(text.size()) : -1);
    QCOMPARE(input, text);
    const auto cleanedState = CInsertionFixupValidator(pattern).validate(input, pos);
    QCOMPARE(input, cleaned);
    QCOMPARE(cleanedState, QRegExpValidator(pattern).validate(cleaned, pos));
}

void TestValidators::setRegExp()
{
    CInsertionFixupValidator validator;
    QStringList order;
    connect(&validator, &QRegExpValidator::regExpChanged, this,
            [&order](const QRegExp& now) { order += "regExpChanged " + now.pattern(); });
    connect(&validator, &QValidator::changed, this, [&order] { order += "changed"; });
    validator.setRegExp(QRegExp(".*")); // It is set.
    validator.setRegExp(QRegExp("a"));
    QCOMPARE(order, QStringList({"regExpChanged a", "changed"}));
}

QTEST_GUILESS_MAIN(TestValidators)
#include "tst_validators.moc"
