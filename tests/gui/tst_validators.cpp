#include <common/tools/insertionfixupvalidator.h>

#include <common/sip/sipid.h>

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

using tools::CInsertionFixupValidator;
using tools::sip::SipId;

namespace
{

/// The rule of fixup, character by character.
QString RemovedOneByOne(const QRegExp& pattern, QString text)
{
    pattern.exactMatch(text);
    while (!text.isEmpty() && pattern.matchedLength() != text.size()) {
        text.remove(pattern.matchedLength(), 1);
        pattern.exactMatch(text);
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
    void defaultPattern();
    void setRegExp();
    void fixup_data();
    void fixup();
    void fixupFollowsTheRule_data();
    void fixupFollowsTheRule();
    void longPaste_data();
    void longPaste();
};

void TestValidators::validate_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QValidator::State>("state");
    QTest::addColumn<int>("position");

    QTest::newRow("whole") << "ab12" << QValidator::Acceptable << 1;
    QTest::newRow("beginning") << "ab" << QValidator::Intermediate << 1;
    QTest::newRow("nothing yet") << "" << QValidator::Intermediate << 1;
    QTest::newRow("wrong at the end") << "ab1x" << QValidator::Invalid << 4;
    QTest::newRow("wrong inside") << "a-b12" << QValidator::Invalid << 5;
}

void TestValidators::validate()
{
    QFETCH(QString, text);
    QFETCH(QValidator::State, state);
    QFETCH(int, position);

    const QRegExpValidator validator(QRegExp("[a-z]+[0-9]{2}"));
    QString input = text;
    int pos = 1;
    QCOMPARE(validator.validate(input, pos), state);
    QCOMPARE(pos, position);
    QCOMPARE(input, text);
    QCOMPARE(validator.regExp().matchedLength(), -1);
}

void TestValidators::defaultPattern()
{
    QCOMPARE(QRegExpValidator().regExp(), QRegExp(".*", Qt::CaseSensitive, QRegExp::RegExp));
    for (QString text : {QString(), QString("x"), QString("a\nb"), QString(100000, u'\u0416')}) {
        int pos = 0;
        QCOMPARE(QRegExpValidator().validate(text, pos), QValidator::Acceptable);
        const QString before = text;
        QCOMPARE(CInsertionFixupValidator().validate(text, pos), QValidator::Acceptable);
        QCOMPARE(text, before);
    }
}

void TestValidators::setRegExp()
{
    CInsertionFixupValidator validator(QRegExp("a"));
    QByteArrayList order;
    connect(&validator, &QRegExpValidator::regExpChanged, this,
            [&order](const QRegExp& now) { order += "regExpChanged " + now.pattern().toUtf8(); });
    connect(&validator, &QValidator::changed, this, [&order] { order += "changed"; });
    validator.setRegExp(QRegExp("a"));
    QVERIFY(order.isEmpty());
    QVERIFY(validator.setProperty("regExp", QVariant::fromValue(QRegExp("a", Qt::CaseInsensitive))));
    QCOMPARE(order, QByteArrayList({"regExpChanged a", "changed"}));
    QString text = "A";
    int pos = 0;
    QCOMPARE(validator.validate(text, pos), QValidator::Acceptable);
}

void TestValidators::fixup_data()
{
    QTest::addColumn<QRegExp>("pattern");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QValidator::State>("state");

    const auto row = [](const char* name, const QRegExp& pattern, const QString& text,
                        const QString& expected, QValidator::State state) {
        QTest::newRow(name) << pattern << text << expected << state;
    };
    row("empty stays", QRegExp("a+"), "", "", QValidator::Intermediate);
    row("nothing allowed", QRegExp("[0-9]+"), "hello world", "", QValidator::Intermediate);
    row("beginning stays", QRegExp("abc"), "ab", "ab", QValidator::Intermediate);
    row("pasted phone number", SipId::PhoneNumberRegExp(), "+7 (495) 123-45-67", "+74951234567",
        QValidator::Acceptable);
    row("pasted address", SipId::AllSymbolRegExp(), "ann @\tb.com\n", "ann@b.com", QValidator::Acceptable);
    row("second port sign", SipId::SymbolRegExp(), "a:1:2:3", "a:123", QValidator::Acceptable);
    row("case does not matter", QRegExp("[a-c]+x", Qt::CaseInsensitive), "A-B-dX", "ABX",
        QValidator::Acceptable);
    row("invalid pattern", QRegExp("["), "[x", "", QValidator::Intermediate);
    row("surrogates", SipId::AllSymbolRegExp(), u"a\U0001F4DEb"_qs, "ab", QValidator::Acceptable);
}

void TestValidators::fixup()
{
    QFETCH(QRegExp, pattern);
    QFETCH(QString, text);
    QFETCH(QString, expected);
    QFETCH(QValidator::State, state);

    const CInsertionFixupValidator validator(pattern);
    int pos = 0;
    QString input = text;
    // Compare with the rule before trusting the row itself.
    QCOMPARE(RemovedOneByOne(pattern, text), expected);
    QCOMPARE(validator.validate(input, pos), state);
    QCOMPARE(input, expected);
    validator.fixup(text);
    QCOMPARE(text, expected);
    QCOMPARE(validator.regExp().matchedLength(), expected.size());
}

void TestValidators::fixupFollowsTheRule_data()
{
    QTest::addColumn<QRegExp>("pattern");

    const auto row = [](const char* pattern, Qt::CaseSensitivity sensitivity = Qt::CaseSensitive,
                        QRegExp::PatternSyntax syntax = QRegExp::RegExp) {
        QTest::addRow("%s/%d/%d", pattern, sensitivity, syntax) << QRegExp(pattern, sensitivity, syntax);
    };
    for (const char* pattern : {"[a-c0-9]*",  "[^a-c]+",      "a.c",
                                "(ab|ba)*1",  "a(?=b)[abc]+", "a(?!b)[abc]+",
                                "(a|b)\\1c*", "\\d+\\s\\w",   "\\bab\\b c",
                                "a$b",        "[]a-]+",       "[a\\-c]+",
                                "\\x0061+",   "[-a]+",        "[a-]+",
                                "a{2,3}b?",   "[\\sA-C]+",    "^(?:[\\+\\s]*)([0-9]+)$",
                                "a\\.b",      "(a*",          ""}) {
        row(pattern);
        row(pattern, Qt::CaseInsensitive);
        row(pattern, Qt::CaseInsensitive, QRegExp::RegExp2);
    }
    row("a*c?", Qt::CaseSensitive, QRegExp::Wildcard);
    row("a*[bc]", Qt::CaseSensitive, QRegExp::WildcardUnix);
    row("a.b", Qt::CaseSensitive, QRegExp::FixedString);
    QTest::newRow("folding") << QRegExp(u"[k\u017F\u0130]+"_qs, Qt::CaseInsensitive);
    QTest::newRow("range of capitals beyond ASCII") << QRegExp(u"[\u0410-\u042F]+"_qs, Qt::CaseInsensitive);
}

// The short cuts of fixup against the rule, on random texts with a fixed seed.
void TestValidators::fixupFollowsTheRule()
{
    QFETCH(QRegExp, pattern);

    const QString letters =
        u"aAbBcCdx019 .-+\\[]()*?\n\u0416\u0436\u017F\u212AskKiI\u0130\u0131\u00A0\u0665"_qs;
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
        QVERIFY2(input == expected, qPrintable(text + " -> " + input + " not " + expected));
    }
}

void TestValidators::longPaste_data()
{
    QTest::addColumn<QRegExp>("pattern");
    QTest::addColumn<QString>("text");
    QTest::addColumn<qsizetype>("kept");

    QTest::newRow("foreign letters between digits")
        << SipId::PhoneNumberRegExp() << QStringLiteral("1x").repeated(5000) << qsizetype(5000);
    QTest::newRow("beyond the limit")
        << SipId::SymbolRegExp() << QStringLiteral("abcdefghij").repeated(1000) << qsizetype(255);
    QTest::newRow("a page of text") << SipId::AllSymbolRegExp()
                                    << QStringLiteral("Call me at work. ").repeated(600) << qsizetype(7800);
}

void TestValidators::longPaste()
{
    QFETCH(QRegExp, pattern);
    QFETCH(QString, text);
    QFETCH(qsizetype, kept);

    CInsertionFixupValidator(pattern).fixup(text);
    QCOMPARE(text.size(), kept);
}

QTEST_GUILESS_MAIN(TestValidators)
#include "tst_validators.moc"
