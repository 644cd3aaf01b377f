#include <common/tools/stringsplitter.h>

#include <QRandomGenerator>
#include <QTest>

#include <limits>

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
        if (current.size() < limit / 2) {
            continue;
        }
        const qsizetype size = current.toUtf8().size();
        if (size < limit) {
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

QStringList StepwiseUcs2(const QString& text, int limit)
{
    QStringList result;
    QString current;
    const auto finish = [&] {
        if (!current.isEmpty()) {
            result += current;
        }
        current.clear();
    };
    for (qsizetype i = 0; i < text.size(); i += limit / 2) {
        const QString slice = text.mid(i, limit / 2);
        if (slice.toUtf8().size() > slice.size()) {
            finish();
            result += slice;
            continue;
        }
        if (current.size() >= limit) {
            finish();
        }
        current += slice;
    }
    finish();
    return result;
}

QString RandomText(QRandomGenerator& random)
{
    static const char16_t* const alphabets[] = {u"abc 012.",
                                                u"abcабв中",
                                                u"абвгд",
                                                u"中文字",
                                                u"\xd83d\xde00\xd83d\xde01",
                                                u"a\xd83d\xde00б\xdc00中"};
    const QStringView alphabet = alphabets[random.bounded(6)];
    QString text;
    for (int left = random.bounded(120); left > 0; --left) {
        text += alphabet.at(random.bounded(static_cast<int>(alphabet.size())));
    }
    return text;
}

} // namespace

class TestStringSplitter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pieces_data();
    void pieces();
    void sameAsStepwise();
};

void TestStringSplitter::pieces_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("limit");
    QTest::addColumn<QStringList>("utf8");
    QTest::addColumn<QStringList>("ucs2");

    QTest::newRow("empty") << "" << 10 << QStringList() << QStringList();
    QTest::newRow("no empty piece behind a full one")
        << "abcdefgh" << 4 << QStringList{"abcd", "efgh"} << QStringList{"abcd", "efgh"};
    QTest::newRow("two bytes, even limit")
        << "абвгд" << 4 << QStringList{"аб", "вг", "д"} << QStringList{"аб", "вг", "д"};
    QTest::newRow("two bytes, odd limit")
        << "абвгд" << 5 << QStringList{"аб", "вг", "д"} << QStringList{"аб", "вг", "д"};
    QTest::newRow("three bytes overrun")
        << "中文字中文字" << 8 << QStringList{"中文字", "中文字"} << QStringList{"中文字中", "文字"};
    QTest::newRow("odd limit, ASCII above it")
        << "abcdefghij" << 5 << QStringList{"abcde", "fghij"} << QStringList{"abcdef", "ghij"};
    QTest::newRow("Cyrillic between ASCII")
        << "aaaabбbbccccdddd" << 8 << QStringList{"aaaabбb", "bccccddd", "d"}
        << QStringList{"aaaa", "bбbb", "ccccdddd"};
    QTest::newRow("limit too small") << "abc" << 1 << QStringList{"abc"} << QStringList{"abc"};
    QTest::newRow("negative limit") << "abc" << -5 << QStringList{"abc"} << QStringList{"abc"};
    QTest::newRow("empty, limit too small") << "" << 0 << QStringList() << QStringList();
    QTest::newRow("largest limit") << "aб" << std::numeric_limits<int>::max() << QStringList{"aб"}
                                   << QStringList{"aб"};
}

void TestStringSplitter::pieces()
{
    QFETCH(QString, text);
    QFETCH(int, limit);
    QFETCH(QStringList, utf8);
    QFETCH(QStringList, ucs2);

    QCOMPARE(splitter::Utf8(text, limit), utf8);
    QCOMPARE(splitter::Ucs2(text, limit), ucs2);
}

void TestStringSplitter::sameAsStepwise()
{
    QRandomGenerator random(2);
    for (int i = 0; i < 20000; ++i) {
        const QString text = RandomText(random);
        const int limit = 3 + random.bounded(60);
        QCOMPARE(splitter::Utf8(text, limit), StepwiseUtf8(text, limit));
        QCOMPARE(splitter::Ucs2(text, limit), StepwiseUcs2(text, limit));
        QCOMPARE(splitter::Utf8(text, limit).join(QString()), text);
    }
}

QTEST_GUILESS_MAIN(TestStringSplitter)
#include "tst_stringsplitter.moc"
