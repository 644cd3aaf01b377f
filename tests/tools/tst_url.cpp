#include <common/tools/url.h>

#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTest>

using tools::url::FindUrlRanges;
using tools::url::IsValidTopLevelDomain;

namespace
{

QStringList Links(const QString& text)
{
    QStringList links;
    for (const auto& range : FindUrlRanges(text)) {
        links += text.mid(range.start, range.length);
    }
    return links;
}

/// Makes a run of more than 1024 units of a text without white space, without a change of what is found in
/// it.
QString InLongRun(const QString& text)
{
    return QString(1025, '(') + text;
}

QString RandomRun(QRandomGenerator& random)
{
    static const QStringList parts{"a",
                                   "b",
                                   ".",
                                   ":",
                                   "/",
                                   "//",
                                   "-",
                                   "_",
                                   "@",
                                   "+",
                                   "1",
                                   "8080",
                                   "com",
                                   "http",
                                   "http:",
                                   "://",
                                   "tel",
                                   "mailto:",
                                   "рф",
                                   "ж",
                                   "中",
                                   "\u0301",
                                   "\U0001F600",
                                   "\U00010330",
                                   "\u017f",
                                   "\u212a",
                                   "(",
                                   ")",
                                   "]",
                                   "[",
                                   ",",
                                   "?",
                                   "'",
                                   "xn--p1ai",
                                   QString(31, 'x'),
                                   QString(63, 'y'),
                                   ".com",
                                   ".b.",
                                   "ß",
                                   "%41",
                                   "\u00ad"};
    QString text;
    for (int left = 1 + random.bounded(12); left > 0; --left) {
        text += parts.at(random.bounded(static_cast<int>(parts.size())));
    }
    return text;
}

} // namespace

class TestUrl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void links_data();
    void links();
    void offsets();
    void longRuns();
    void whiteSpace();
    void hostile_data();
    void hostile();
    void topLevelDomain_data();
    void topLevelDomain();
};

void TestUrl::links_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("expected");

    const auto none = [](const char* name, const QString& text) {
        QTest::newRow(name) << text << QStringList();
    };
    const auto row = [](const char* name, const QString& text, const QStringList& expected) {
        QTest::newRow(name) << text << expected;
    };
    none("no text", "");
    row("end of a sentence", "See http://a.com/x. Then http://b.com!?...",
        {"http://a.com/x", "http://b.com"});
    row("quotes and commas", "\"http://a.com\", 'b.com';", {"http://a.com", "b.com"});
    row("in brackets", "(http://a.com/x) [b.com] {ftp://c.de/}", {"http://a.com/x", "b.com", "ftp://c.de/"});
    row("brackets of its own", "http://a.com/x_(y) (http://a.com/x_(y)) http://a.com/[1]{2}",
        {"http://a.com/x_(y)", "http://a.com/x_(y)", "http://a.com/[1]{2}"});
    row("marks and brackets in turn", "(see http://a.com/x(1).).", {"http://a.com/x(1)"});
    row("each kind by itself", "http://a.com/(])])", {"http://a.com/(])"});
    row("bare host with port and path", "a.com a.com:80 a.com:8080/x?y=(z) A.RU",
        {"a.com", "a.com:80", "a.com:8080/x?y=(z)", "A.RU"});
    row("port too long or followed by letters", "a.com:123456 a.com:80x", {"a.com", "a.com"});
    row("international bare host", "пример.рф 例子.中国 a.xn--p1ai",
        {"пример.рф", "例子.中国", "a.xn--p1ai"});
    row("full stop in another script", "http://a.com/x。", {"http://a.com/x。"});
    none("file name, version, abbreviation", "main.cpp 1.2.3 v2.0 e.g. readme.txt archive.tar.gz z.b.");
    none("token with an at sign", "ann@a.com @a.com ann.a@b.com");
    none("part of a longer token", "_a.com a.com_ -a.com a.com-x_y a.com@b");
    row("shorter host before a dot", "a.com._x a.com.- a.b", {"a.com", "a.com"});
    row("label of 63, not of 64", QString(63, 'a') + ".com " + QString(64, 'a') + ".com",
        {QString(63, 'a') + ".com"});
    none("unknown scheme", "note:text git://a.com x-y:z localhost:8080 www.a.b:x");
    none("web scheme without slashes", "http:a.com https:");
    row("other schemes with any text", "sip:x tel:+7(812)1 MAILTO:a@b callto:! sips:рф",
        {"sip:x", "tel:+7(812)1", "MAILTO:a@b", "callto", "sips:рф"});
    none("other scheme with slashes", "sip://a.com tel://1");
    row("nothing behind the scheme but marks", "http://... sip:?! tel:", {"http://", "sip"});
    row("unknown ASCII domain", "http://server http://a.internal http://10.0.0.1:80/x HTTPS://A.LAN",
        {"http://server", "http://a.internal", "http://10.0.0.1:80/x", "HTTPS://A.LAN"});
    row("Cyrillic domain must be known",
        "http://пример.рф/x http://пример.фр http://a.xn--p1ai http://a.xn--zzzz",
        {"http://пример.рф/x", "http://a.xn--p1ai"});
    row("host that cannot be read", "http://[x http://[y].", {"http://[x", "http://[y]"});
    row("angle brackets end a link", "<http://a.com><b>b.com</b>", {"http://a.com", "b.com"});
    row("plus is no part of a token", "a+b.com a+http://a.com", {"b.com"});
    row("half a surrogate pair", "a.com" + QString(QChar(0xD800)) + " b.com http://c.de/" + QChar(0xDC00),
        {"a.com", "b.com", "http://c.de/" + QString(QChar(0xDC00))});
    row("the long s is a letter of a scheme", "\u017fip:a.com b.com", {"b.com"});
    row("authority too long for a host name",
        "http://" + QString(513, QChar(0x436)) + " http://" + QString(600, 'a') + ".b http://a.com/" +
            QString(600, QChar(0x436)),
        {"http://" + QString(600, 'a') + ".b", "http://a.com/" + QString(600, QChar(0x436))});
}

void TestUrl::links()
{
    QFETCH(QString, text);
    QFETCH(QStringList, expected);

    QCOMPARE(Links(text), expected);
    QCOMPARE(Links(InLongRun(text.split(' ').join(' ' + InLongRun(QString())))), expected);
}

void TestUrl::offsets()
{
    const QString text = "\U0001F600 жa a.com,\r\n(http://b.com)";
    const auto ranges = FindUrlRanges(text);
    QCOMPARE(ranges.size(), 2);
    QCOMPARE(ranges.at(0).start, 6);
    QCOMPARE(ranges.at(0).length, 5);
    QCOMPARE(ranges.at(1).start, 15);
    QCOMPARE(ranges.at(1).length, 12);
}

void TestUrl::longRuns()
{
    QRandomGenerator random(3);
    int found = 0;
    for (int i = 0; i < 30000; ++i) {
        const QString text = RandomRun(random);
        const QStringList links = Links(text);
        found += static_cast<int>(links.size());
        QCOMPARE(Links(InLongRun(text)), links);
    }
    QVERIFY2(found > 1500, QByteArray::number(found));
}

void TestUrl::whiteSpace()
{
    // The engine's own notion of white space under Unicode rules.
    const QRegularExpression breaks("^[\\s<>]$", QRegularExpression::UseUnicodePropertiesOption);
    for (char32_t c = 1; c < 0x10000; ++c) {
        if (QChar::isSurrogate(c)) {
            continue;
        }
        const QString text = QString("http://a/%1b").arg(QChar(c));
        const bool isBreak = breaks.match(QString(QChar(c))).hasMatch();
        QCOMPARE(Links(text).first().size(), isBreak ? 9 : 11);
    }
}

void TestUrl::hostile_data()
{
    QTest::addColumn<QString>("text");

    for (const char* unit :
         {"a",    "a.",         "a.a.a. ", "(",     "http://", "http://a ",  "a+",
          "a+a:", "http://a/)", ")",       "a.ru ", "\u0301",  "\U0001F600", "http://\u0301\u0316 ",
          "a-",   "1.",         "a@",      "sip:(", "xn--",    ".",          ":"}) {
        const QString part = QString::fromUtf8(unit);
        QTest::newRow(unit) << part.repeated(1000000 / part.size());
    }
    QTest::newRow("marks out of order in a host") << "http://" + QString("\u0301\u0316").repeated(500000);
    QTest::newRow("the same, percent-encoded") << "http://" + QString("%CC%81%CC%96").repeated(80000);
    QTest::newRow("closers behind a link") << "http://a/" + QString(1000000, ')');
    QTest::newRow("hosts with long labels") << (QString(63, 'a') + '.').repeated(15000);
}

void TestUrl::hostile()
{
    QFETCH(QString, text);

    // Must end in time, and must not hide what stands behind.
    const QStringList links = Links(text + " http://behind.com");
    QCOMPARE(links.last(), QString("http://behind.com"));
}

void TestUrl::topLevelDomain_data()
{
    QTest::addColumn<QString>("domain");
    QTest::addColumn<bool>("expected");

    for (const char* domain :
         {"com", "ac", "xn--p1acf", "XN--P1AI", "рф", "РФ", " Com\t", ".ru", "ru.", " .ru. "}) {
        QTest::newRow(domain) << QString::fromUtf8(domain) << true;
    }
    for (const char* domain : {"", " ", ".", "..", "co m", "ac ad", "xn", "xn--", "muse", "a.com", "..ru",
                               "ru..", "фр", "com-", "\u0301"}) {
        QTest::newRow(domain) << QString::fromUtf8(domain) << false;
    }
    QTest::newRow("longer than any name") << "com" + QString(1000000, QChar(0xAD)) << false;
}

void TestUrl::topLevelDomain()
{
    QFETCH(QString, domain);
    QFETCH(bool, expected);

    QCOMPARE(IsValidTopLevelDomain(domain), expected);
}

QTEST_GUILESS_MAIN(TestUrl)
#include "tst_url.moc"
