#include <common/tools/stringconverter.h>
#include <common/tools/stringsplitter.h>
#include <common/tools/url.h>
#include <common/tools/version.h>

#include "urloracle.h"

#include <table.h>

#include <limits>
#include <random>

using common::Version;
using tools::string::converter;
using tools::string::splitter;
using tools::url::FindUrlRanges;
using tools::url::IsValidTopLevelDomain;

namespace
{

/// Creates a string from parts of links, delimiters, letters, arbitrary characters and lone surrogates.
QString MakeText(std::mt19937& random)
{
    static const QStringList pieces{
        "http://", "ftp://", "HTTPS://", "sip:", "tel:", "note:", "git://", "//", "/x?y=z#", ":80", ":123456",
        "example.com", "пример.рф", "例子.中国", "xn--p1ai", "a.xn--zzzz", ".фр", ".COM", "a.b", "1.2",
        "a@b.ru", "%D1%84", "%2e", ".", ".", "..", ":", "-", "--", "_", "@", "+", "(", ")", "[", "]", "{",
        "}", ",", "!", "?", "\"", "'", ";", "<", ">", " ", "\n", "\u3000", "\u00A0",
        // The engine or QUrl treats the first two as "s" and "K" and the fourth as a dot, and drops the
        // last.
        "\u017F", "\u212A", "\u0301", "\uFF0E", "\u00AD"};
    const auto below = [&random](qsizetype limit) { return static_cast<int>(random() % quint32(limit)); };
    QString text;
    for (int i = below(12); i >= 0; --i) {
        const auto any = static_cast<char32_t>(below(below(2) > 0 ? 0x3000 : 0x110000));
        const QString kinds[] = {QString::fromUcs4(&any, 1), QString(1 + below(70), QChar(u'a' + below(26))),
                                 QString(QChar(0xD800 + below(0x800)))};
        const int kind = below(6);
        const int count = below(8) > 0 ? 1 : below(8) > 0 ? below(5) : below(300);
        text += (kind < 3 ? kinds[kind] : pieces.at(below(pieces.size()))).repeated(count);
    }
    return text;
}

} // namespace

class TestText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void convert();
    void split();
    void versions();
    void links_data();
    void links();
    void sameLinksAsPattern();
    void hostileTexts();
    void topLevelDomain();
};

void TestText::convert()
{
    // printf 'жЖ' | md5sum
    QCOMPARE(converter::ToMD5(QString("жЖ")), "6a15fb62413894a6064ef13ae820f556");
    QCOMPARE(converter::ToUuidForm("жЖ", 8), "{d0b6d096}");
    // The opening brace counts as a digit, so the last group is shorter.
    QCOMPARE(converter::ToUuidForm("abcd", 3), "{616-263-64}");
    // A group size of 0, and one whose double exceeds 32 bits.
    QCOMPARE(converter::ToUuidForm("abcd", 0), "{61626364}");
    QCOMPARE(converter::ToUuidForm("abcd", 0x80000001U), "{61626364}");
}

void TestText::split()
{
    // The expected pieces are separated by bars.
    const auto verify = [](int limit, const QString& utf8, const QString& ucs2) {
        const QString text = QString(utf8).remove('|');
        QCOMPARE(splitter::Utf8(text, limit).join('|'), utf8);
        QCOMPARE(splitter::Ucs2(text, limit).join('|'), ucs2);
    };
    QCOMPARE(splitter::Utf8("", 10) + splitter::Ucs2("", 10), QStringList());
    verify(8, "中文字|中文字", "中文字中|文字"); // Three-byte characters may exceed the limit.
    verify(5, "abcde|fghij", "abcdef|ghij");
    verify(8, "aaaabбb|bccccddd|d", "aaaa|bбbb|ccccdddd");
    verify(9, "a😀б|中a😀|б中", "a😀б|中a😀|б中");
    verify(7, "a😀б|a", "a😀|бa");
    // A limit smaller than any character, and one larger than the whole string.
    verify(-5, "abc", "abc");
    verify(std::numeric_limits<int>::max(), "aб", "aб");
}

void TestText::versions()
{
    const std::pair<QString, QString> parsed[] = {
        {"1,2_3-4.5", "1.2.3.4"}, {"1..3", "1.0.3.0"}, {"1. 2 .3rc1.4", "1.2.0.4"}};
    for (const auto& [text, expected] : parsed) {
        QCOMPARE(Version(text).ToString(), expected);
        QCOMPARE(Version(text.toUtf8().constData()).ToString(), expected);
    }
    QVERIFY(!Version(static_cast<const char*>(nullptr)));
    QVERIFY(Version("0.0.0.1"));

    const Version ascending[] = {{}, "0.0.0.1", "0.0.1", "1.2.3.4", "1.2.3.5", "1.3", {4294967295u, 0, 0, 0}};
    for (const Version& a : ascending) {
        for (const Version& b : ascending) {
            const QList<bool> answers{a<b, a> b, a == b, a <= b, a >= b, a != b};
            QCOMPARE(answers, QList<bool>({&a<&b, &a> & b, &a == &b, &a <= &b, &a >= &b, &a != &b}));
        }
    }
}

void TestText::links_data()
{
    const Table<QString, QStringList> row("text", "expected");
    row("marks and quotes at the end", "See http://a.com/x. \"http://b.com\"!?... 'http://c.com';",
        {"http://a.com/x", "http://b.com", "http://c.com"});
    row("brackets around and its own", "(http://a.com/x(1)).), [b.com] {ftp://c.de/} http://a.com/(])])",
        {"http://a.com/x(1)", "b.com", "ftp://c.de/", "http://a.com/(])"});
    row("international", "пример.рф 例子.中国 a.xn--p1ai http://a.com/x。",
        {"пример.рф", "例子.中国", "a.xn--p1ai", "http://a.com/x。"});
    row("file name, version, abbreviation", "main.cpp 1.2.3 v2.0 e.g. readme.txt z.b.", {});
    row("other schemes with any text", "sip:x tel:+7(812)1 MAILTO:a@b callto:! sips:рф",
        {"sip:x", "tel:+7(812)1", "MAILTO:a@b", "callto", "sips:рф"});
    row("unknown ASCII domain", "http://server http://10.0.0.1:80/x HTTPS://A.LAN",
        {"http://server", "http://10.0.0.1:80/x", "HTTPS://A.LAN"});
    row("Cyrillic domain must be known",
        "http://пример.рф/x http://пример.фр http://b.фр./x http://a.XN--P1AI http://a.xn--zzzz",
        {"http://пример.рф/x", "http://a.XN--P1AI"});
    const QString ideographs(600, QChar(0x4E00));
    const QStringList longHosts{"http://" + ideographs + "/a", "http://example.com，" + ideographs,
                                "http://" + ideographs + "@example.com/a"};
    row("invalid hosts, longer than any name", longHosts.join(' '), longHosts);
    row("Cyrillic domain after a user", "http://" + ideographs + "@a.фр http://x@y@a.фр",
        {"http://x@y@a.фр"});
}

void TestText::links()
{
    QFETCH(QString, text);
    QFETCH(QStringList, expected);

    QStringList links;
    for (const auto& range : FindUrlRanges(text)) {
        links += text.mid(range.start, range.length);
    }
    QCOMPARE(links, expected);
}

void TestText::sameLinksAsPattern()
{
    std::mt19937 random{1}; // NOLINT(cert-msc32-c,cert-msc51-cpp): the same texts in each run
    const auto isSame = [](const auto& a, const auto& b) {
        return a.start == b.start && a.length == b.length;
    };
    for (int count = 0; count < 20000;) {
        const QString text = MakeText(random);
        if (const auto expected = urloracle::FindUrlRanges(text)) {
            ++count;
            const auto ranges = FindUrlRanges(text);
            QVERIFY2(std::equal(ranges.begin(), ranges.end(), expected->begin(), expected->end(), isSame),
                     qPrintable(text));
        }
    }
}

void TestText::hostileTexts()
{
    QStringList texts{"http://" + QString("%CC%81%CC%96").repeated(80000),
                      "http://a/" + QString(1000000, ')'), (QString(63, 'a') + '.').repeated(15000),
                      (QString("a+").repeated(500) + ".a ").repeated(1000)};
    for (const QString unit : {"a", "a.", "(", "http://", "a+a:", "\u0301", "http://\u0301\u0316 ", "xn--"}) {
        texts += unit.repeated(1000000 / unit.size());
    }
    // Each string must be parsed in time, and the link after it must still be found.
    for (const QString& text : texts) {
        QVERIFY2(FindUrlRanges(text + " behind.com").last().start == text.size() + 1,
                 qPrintable(text.left(20)));
    }
}

void TestText::topLevelDomain()
{
    const QStringList valid{"com", "xn--p1acf", "XN--P1AI", "РФ", " Com\t", " .ru. "};
    const QStringList invalid{"", ".", "ac ad", "xn--", "muse", "a.com", "..ru", "ru..", "фр", "\u0301"};
    for (const QString& domain : valid + invalid) {
        QVERIFY2(IsValidTopLevelDomain(domain) == valid.contains(domain), qPrintable(domain));
    }
    QVERIFY2(!IsValidTopLevelDomain("com" + QString(1000000, QChar(0xAD))), "longer than any name");
}

QTEST_GUILESS_MAIN(TestText)
#include "tst_text.moc"
