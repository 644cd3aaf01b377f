#include <common/tools/stringconverter.h>
#include <common/tools/stringsplitter.h>
#include <common/tools/version.h>

#include <QTest>

#include <limits>

using common::Version;
using tools::string::converter;
using tools::string::splitter;

class TestText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void convert();
    void split();
    void versions();
};

void TestText::convert()
{
    // printf 'жЖ' | md5sum
    QCOMPARE(converter::ToMD5(QString("жЖ")), "6a15fb62413894a6064ef13ae820f556");
    QCOMPARE(converter::ToUuidForm("", 1), "{}");
    QCOMPARE(converter::ToUuidForm("жЖ", 8), "{d0b6d096}");
    // The brace counts as a digit of what is left.
    QCOMPARE(converter::ToUuidForm("abcd", 4), "{6162-6364}");
    QCOMPARE(converter::ToUuidForm("abcd", 3), "{616-263-64}");
    // No group size, and one whose double is above 32 bits.
    QCOMPARE(converter::ToUuidForm("abcd", 0), "{61626364}");
    QCOMPARE(converter::ToUuidForm("abcd", 0x80000001U), "{61626364}");
}

void TestText::split()
{
    // The pieces, with a bar between them.
    const auto verify = [](int limit, const QString& utf8, const QString& ucs2) {
        const QString text = QString(utf8).remove('|');
        QCOMPARE(splitter::Utf8(text, limit).join('|'), utf8);
        QCOMPARE(splitter::Ucs2(text, limit).join('|'), ucs2);
    };
    QVERIFY(splitter::Utf8("", 10).isEmpty() && splitter::Ucs2("", 10).isEmpty());
    verify(8, "中文字|中文字", "中文字中|文字"); // three bytes each overrun the limit
    verify(5, "abcde|fghij", "abcdef|ghij");
    verify(8, "aaaabбb|bccccddd|d", "aaaa|bбbb|ccccdddd");
    verify(3, "abc|б|中|d", "abc|б|中|d");
    verify(9, "a😀б|中a😀|б中", "a😀б|中a😀|б中");
    // No room for a character, and room for all.
    verify(1, "abc", "abc");
    verify(-5, "abc", "abc");
    verify(std::numeric_limits<int>::max(), "aб", "aб");
}

void TestText::versions()
{
    const std::pair<QString, QString> parsed[] = {
        {"1,2_3-4.5", "1.2.3.4"},    {"", "0.0.0.0"},     {"1..3", "1.0.3.0"},
        {"1. 2 .3rc1.4", "1.2.0.4"}, {"-1.2", "0.1.2.0"}, {"4294967295.4294967296", "4294967295.0.0.0"}};
    for (const auto& [text, expected] : parsed) {
        QCOMPARE(Version(text).ToString(), expected);
        QCOMPARE(Version(text.toUtf8().constData()).ToString(), expected);
    }
    QVERIFY(!Version(static_cast<const char*>(nullptr)) && Version("0.0.0.1"));

    const Version ascending[] = {{}, "0.0.0.1", "0.0.1", "1.2.3.4", "1.2.3.5", "1.3", {4294967295u, 0, 0, 0}};
    for (const Version& a : ascending) {
        for (const Version& b : ascending) {
            QVERIFY((a < b) == (&a < &b) && (a > b) == (&a > &b) && (a == b) == (&a == &b));
            QVERIFY((a <= b) == (&a <= &b) && (a >= b) == (&a >= &b) && (a != b) == (&a != &b));
        }
    }
}

QTEST_GUILESS_MAIN(TestText)
#include "tst_text.moc"
