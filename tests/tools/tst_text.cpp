#include <common/tools/stringconverter.h>
#include <common/tools/stringsplitter.h>
#include <common/tools/version.h>
#include <common/vxcommon_features.h>
#if VXCOMMON_HAS_QREGEXP
#include <common/tools/web.h>
#endif

#include <QRandomGenerator>
#include <QTest>

#include <limits>

using common::Version;
using tools::string::converter;
using tools::string::splitter;

namespace
{

/// Unit by unit, measured anew at each unit: slow, and plain enough to be trusted.
QStringList StepwiseUtf8(const QString& text, int limit)
{
    QStringList result;
    QString current;
    for (qsizetype i = 0; i < text.size(); ++i) {
        current += text.at(i);
        const qsizetype size = current.toUtf8().size();
        if (current.size() < limit / 2 || size < limit) {
            continue;
        }
        if (size > limit) {
            current.chop(1);
            --i;
        }
        result += current;
        current.clear();
    }
    return current.isEmpty() ? result : result << current;
}

} // namespace

class TestText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void convert();
    void split();
    void versions();
#if VXCOMMON_HAS_QREGEXP
    void webAddresses();
#endif
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
    // No room for a character, and room for all.
    verify(1, "abc", "abc");
    verify(-5, "abc", "abc");
    verify(std::numeric_limits<int>::max(), "aб", "aб");

    const QStringList alphabets{"abc 012.", "abcабв中", "абвгд", "中文字", "😀😁", "a😀б中"};
    QRandomGenerator random(2);
    for (int i = 0; i < 20000; ++i) {
        const QString& alphabet = alphabets.at(random.bounded(int(alphabets.size())));
        QString text;
        for (int left = random.bounded(120); left > 0; --left) {
            text += alphabet.at(random.bounded(int(alphabet.size()))); // halves of pairs, too
        }
        const int limit = 3 + random.bounded(60);
        QCOMPARE(splitter::Utf8(text, limit), StepwiseUtf8(text, limit));
        QCOMPARE(splitter::Ucs2(text, limit).join(QString()), text);
    }
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

#if VXCOMMON_HAS_QREGEXP
void TestText::webAddresses()
{
    using tools::web::Web;

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
#endif

QTEST_GUILESS_MAIN(TestText)
#include "tst_text.moc"
