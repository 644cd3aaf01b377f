#include <common/tools/stringconverter.h>
#include <common/tools/stringsplitter.h>

#include <QRandomGenerator>
#include <QTest>

#include <limits>

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

class TestStrings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void hexAndMd5();
    void uuidForm();
    void pieces();
    void sameAsStepwise();
};

void TestStrings::hexAndMd5()
{
    QCOMPARE(converter::ToMD5(QByteArray()), "d41d8cd98f00b204e9800998ecf8427e");
    // printf 'жЖ' | md5sum
    QCOMPARE(converter::ToMD5(QString("жЖ")), "6a15fb62413894a6064ef13ae820f556");
    QCOMPARE(converter::ToHex("жЖ"), "d0b6d096");
}

void TestStrings::uuidForm()
{
    QCOMPARE(converter::ToUuidForm("", 1), "{}");
    QCOMPARE(converter::ToUuidForm("ab", 8), "{6162}");
    // The brace counts as a digit of what is left.
    QCOMPARE(converter::ToUuidForm("abcd", 4), "{6162-6364}");
    QCOMPARE(converter::ToUuidForm("abcd", 3), "{616-263-64}");
    QCOMPARE(converter::ToUuidForm("abcde", 4), "{6162-636465}");
    // No group size, and one whose double is above 32 bits.
    QCOMPARE(converter::ToUuidForm("abcd", 0), "{61626364}");
    QCOMPARE(converter::ToUuidForm("abcd", 0x80000001U), "{61626364}");
}

void TestStrings::pieces()
{
    // The pieces, with a bar between them.
    const auto verify = [](int limit, const QString& utf8, const QString& ucs2) {
        const QString text = QString(utf8).remove('|');
        QCOMPARE(splitter::Utf8(text, limit).join('|'), utf8);
        QCOMPARE(splitter::Ucs2(text, limit).join('|'), ucs2);
    };
    QVERIFY(splitter::Utf8("", 10).isEmpty() && splitter::Ucs2("", 10).isEmpty());
    verify(4, "abcd|efgh", "abcd|efgh");
    verify(5, "аб|вг|д", "аб|вг|д");
    verify(8, "中文字|中文字", "中文字中|文字"); // three bytes each overrun the limit
    verify(5, "abcde|fghij", "abcdef|ghij");
    verify(8, "aaaabбb|bccccddd|d", "aaaa|bбbb|ccccdddd");
    verify(3, "abc|б|中|d", "abc|б|中|d");
    // No room for a character, and room for all.
    verify(1, "abc", "abc");
    verify(-5, "abc", "abc");
    verify(std::numeric_limits<int>::max(), "aб", "aб");
}

void TestStrings::sameAsStepwise()
{
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

QTEST_GUILESS_MAIN(TestStrings)
#include "tst_strings.moc"
