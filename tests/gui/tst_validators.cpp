#include <common/tools/insertionfixupvalidator.h>

#include <common/sip/sipid.h>

#include <table.h>

#include <QRandomGenerator>

using tools::CInsertionFixupValidator;
using tools::sip::SipId;

namespace
{

/// The rule of fixup, character by character.
QString RemovedOneByOne(const QRegExp& pattern, QString text)
{
    static_cast<void>(pattern.exactMatch(text));
    while (!text.isEmpty() && pattern.matchedLength() != text.size()) {
        text.remove(pattern.matchedLength(), 1);
        static_cast<void>(pattern.exactMatch(text));
    }
    return text;
}

} // namespace

class TestValidators : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void validate_data();
    void validate();
    void setRegExp();
    void shortCuts();
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
    row("surrogates", SipId::AllSymbolRegExp(), u"a\U0001F4DEb"_qs, QValidator::Invalid, "ab");
    row("no pattern", QRegExpValidator().regExp(), "a\n%", QValidator::Acceptable, "a\n%");
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

// The short cuts of fixup against the rule, on random texts with a fixed seed.
void TestValidators::shortCuts()
{
    const QString letters =
        u"aAbBcCdx019 .-+\\[]()*?\n\u0416\u0436\u017F\u212AskKiI\u0130\u0131\u00A0\u0665"_qs;
    const auto check = [&letters](const QRegExp& pattern) {
        QRandomGenerator random(20);
        const CInsertionFixupValidator validator(pattern);
        for (int round = 0; round < 300; ++round) {
            QString text;
            for (int size = random.bounded(14); size > 0; --size) {
                // Half of the texts from the letters that most patterns know.
                text += letters.at(random.bounded(round % 2 == 0 ? 6 : static_cast<int>(letters.size())));
            }
            const QString expected = RemovedOneByOne(pattern, text);
            QString input = text;
            validator.fixup(input);
            QVERIFY2(input == expected,
                     qPrintable(pattern.pattern() + ": " + text + " -> " + input + " not " + expected));
        }
    };
    const QString patterns =
        uR"([a-c0-9]* [^a-c]+ a.c (ab|ba)*1 a(?=b)[abc]+ a(?!b)[abc]+ (?!a*c)a?(?=bc) (a|b)\1c* \d+\s\w
        \bab\b\sc a$b []a-]+ [a\-c]+ \x0061+ [-a]+ [a-]+ [a- a{2,3}b? [\sA-C]+ ^(?:[\+\s]*)([0-9]+)$ a\.b (a* [
        a*[bc] [c-a\s0]+ ((a|b)c\1)|b [kſİ]+ [А-Я]+)"_qs;
    for (const QString& pattern : patterns.simplified().split(' ')) {
        check(QRegExp(pattern));
        check(QRegExp(pattern, Qt::CaseInsensitive, QRegExp::RegExp2));
        check(QRegExp(pattern, Qt::CaseSensitive, QRegExp::WildcardUnix));
        check(QRegExp(pattern, Qt::CaseSensitive, QRegExp::FixedString));
    }
}

QTEST_GUILESS_MAIN(TestValidators)
#include "tst_validators.moc"
