#include <common/sip/sipid.h>

#include <QTest>

using tools::sip::SipId;

class TestSipId : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void check_data();
    void check();
    void patterns_data();
    void patterns();
    void hostileTexts_data();
    void hostileTexts();
    void copiesAreIndependent();
};

void TestSipId::check_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<SipId::Error>("expected");

    const QString label63(63, u'x');
    QTest::newRow("plain") << "a@b.quollsip.com" << SipId::NoError;
    QTest::newRow("upper case") << "A@B.QUOLLSIP.COM" << SipId::NoError;
    QTest::newRow("no sub-domain") << "a@quollsip.com" << SipId::NoError;
    QTest::newRow("many sub-domains") << "a@b.c.d.quollsip.ru" << SipId::NoError;
    QTest::newRow("dots between runs") << "a.b.c@quollsip.com" << SipId::NoError;
    QTest::newRow("typographic quotation mark") << u"a\u2018b@quollsip.com"_qs << SipId::NoError;
    QTest::newRow("apostrophe") << "a'b@quollsip.com" << SipId::NoError;
    QTest::newRow("every symbol") << "-0&=+$,;?_!~*()%{}/@quollsip.com" << SipId::NoError;
    QTest::newRow("port") << "a@quollsip.com:5060" << SipId::NoError;
    QTest::newRow("longest port") << "a@quollsip.com:99999" << SipId::NoError;
    QTest::newRow("label of 63") << "a@" + label63 + ".quollsip.com" << SipId::NoError;

    QTest::newRow("foreign domain") << "a@b.example.com" << SipId::FormatError;
    QTest::newRow("service label elsewhere") << "a@quollsip.b.com" << SipId::FormatError;
    QTest::newRow("service label with a prefix") << "a@myquollsip.com" << SipId::FormatError;
    QTest::newRow("top-level label of 1") << "a@quollsip.c" << SipId::FormatError;
    QTest::newRow("top-level label of 5") << "a@quollsip.comma" << SipId::FormatError;
    QTest::newRow("label of 64") << "a@x" + label63 + ".quollsip.com" << SipId::FormatError;
    QTest::newRow("label ends in a dash") << "a@b-.quollsip.com" << SipId::FormatError;
    QTest::newRow("dot first") << ".a@quollsip.com" << SipId::FormatError;
    QTest::newRow("dot last") << "a.@quollsip.com" << SipId::FormatError;
    QTest::newRow("two dots in a row") << "a..b@quollsip.com" << SipId::FormatError;
    QTest::newRow("no domain") << "a" << SipId::FormatError;
    QTest::newRow("empty domain") << "a@" << SipId::FormatError;
    QTest::newRow("no user") << "@quollsip.com" << SipId::FormatError;
    QTest::newRow("second @ is no symbol error") << "a@b@quollsip.com" << SipId::FormatError;
    QTest::newRow("port with a leading zero") << "a@quollsip.com:05060" << SipId::FormatError;
    QTest::newRow("port missing behind its colon") << "a@quollsip.com:" << SipId::FormatError;

    QTest::newRow("blank") << "a b@quollsip.com" << SipId::SymbolError;
    QTest::newRow("backslash") << "a\\b@quollsip.com" << SipId::SymbolError;
    QTest::newRow("Cyrillic") << u"\u0430@quollsip.com"_qs << SipId::SymbolError;
    QTest::newRow("user symbol in the domain") << "a@b+c.quollsip.com" << SipId::SymbolError;
    QTest::newRow("underscore in the domain") << "a@b_c.com" << SipId::SymbolError;
    QTest::newRow("embedded null") << u"a\0@quollsip.com"_qs << SipId::SymbolError;
    QTest::newRow("line feed at the end") << "a@quollsip.com\n" << SipId::SymbolError;

    QTest::newRow("empty") << "" << SipId::LengthError;
    QTest::newRow("256 symbols") << QString(256, u'a') << SipId::LengthError;
    QTest::newRow("255 symbols") << QString(255, u'a') << SipId::FormatError;
    QTest::newRow("255 symbols and a port") << QString(255, u'a') + ":12345" << SipId::FormatError;
    QTest::newRow("port of six digits") << "a@quollsip.com:123456" << SipId::LengthError;
    QTest::newRow("two ports") << "a@quollsip.com:1:2" << SipId::LengthError;
}

void TestSipId::check()
{
    QFETCH(QString, id);
    QFETCH(SipId::Error, expected);

    QCOMPARE(SipId::Check(id), expected);
    QCOMPARE(SipId::IsValid(id), expected == SipId::NoError);
}

// What the patterns accept that Check and the address parser do not show.
void TestSipId::patterns_data()
{
    QTest::addColumn<QRegExp>("pattern");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("expected");

    const auto row = [](const char* name, const QRegExp& pattern, const QString& text, bool expected) {
        QTest::newRow(name) << pattern << text << expected;
    };
    row("two ports in a row", SipId::QuollSipIDRegExp(), "a@quollsip.com:1:2", true);
    row("three ports in a row", SipId::QuollSipIDRegExp(), "a@quollsip.com:1:2:3", false);
    row("no port", SipId::QuollSipIDRegExp(), "a@b.quollsip.com", true);
    row("without port: port", SipId::IDWithoutPortRegExp(), "a@b.com:5060", false);
    row("without port: dial digits", SipId::IDWithoutPortRegExp(), "sip:a@b.com,12#", true);
    row("symbols of nothing", SipId::SymbolRegExp(), "", true);
    row("unfinished port", SipId::SymbolRegExp(), "a@b:", true);
    row("numeric: nothing", SipId::NumericNumberRegExp(), "", true);
    row("numeric: written number", SipId::NumericNumberRegExp(), "+7 (495) 123-45,67#*", true);
    row("numeric: letter", SipId::NumericNumberRegExp(), "123a", false);
    row("numeric SIP", SipId::NumericSipRegExp(), "000 12", true);
    row("numeric SIP: prefix inside", SipId::NumericSipRegExp(), "1000", false);
    row("all symbols as a class", QRegExp("[" + SipId::AllSymbols() + "]+"), u"az09.@:{}\u2018'"_qs, true);
    row("all symbols hold no backslash", QRegExp("[" + SipId::AllSymbols() + "]+"), "\\", false);
}

void TestSipId::patterns()
{
    QFETCH(QRegExp, pattern);
    QFETCH(QString, text);
    QFETCH(bool, expected);

    QCOMPARE(pattern.exactMatch(text), expected);
}

void TestSipId::hostileTexts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<SipId::Error>("expected");

    QTest::newRow("dots and letters") << QStringLiteral("a.").repeated(50000) << SipId::LengthError;
    QTest::newRow("at signs") << QString(100000, u'@') << SipId::LengthError;
    QTest::newRow("lone surrogate") << QString(QChar(0xD800)) + "@quollsip.com" << SipId::SymbolError;
    QTest::newRow("surrogates") << QString(100000, QChar(0xDC00)) << SipId::SymbolError;
    QTest::newRow("nulls") << QString(100000, QChar(u'\0')) << SipId::SymbolError;
}

void TestSipId::hostileTexts()
{
    QFETCH(QString, text);
    QFETCH(SipId::Error, expected);

    QCOMPARE(SipId::Check(text), expected);
}

void TestSipId::copiesAreIndependent()
{
    QRegExp first = SipId::PhoneNumberRegExp();
    QRegExp second = SipId::PhoneNumberRegExp();
    QVERIFY(first.exactMatch("123"));
    QVERIFY(second.exactMatch("456"));
    QCOMPARE(first.cap(1), "123");
    QCOMPARE(SipId::PhoneNumberRegExp().matchedLength(), -1);
}

QTEST_GUILESS_MAIN(TestSipId)
#include "tst_sipid.moc"
