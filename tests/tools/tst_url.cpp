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

/// Makes the run of text that it stands before too long for the engine, and takes no part in a link.
const QString longPrefix(1025, '(');

} // namespace

class TestUrl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void links_data();
    void links();
    void longRuns();
    void whiteSpace();
    void hostile();
    void topLevelDomain();
};

void TestUrl::links_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("expected");

    const auto row = [](const char* name, const QString& text, const QStringList& expected) {
        QTest::newRow(name) << text << expected;
    };
    row("marks and quotes at the end", "See http://a.com/x. \"http://b.com\"!?... 'http://c.com';",
        {"http://a.com/x", "http://b.com", "http://c.com"});
    row("brackets around and its own", "(http://a.com/x(1)).), [b.com] {ftp://c.de/} http://a.com/(])])",
        {"http://a.com/x(1)", "b.com", "ftp://c.de/", "http://a.com/(])"});
    row("bare host with port and path", "a.com:80 a.com:65535/x?y=(z) A.RU a.com:123456 b.com:80x",
        {"a.com:80", "a.com:65535/x?y=(z)", "A.RU", "a.com", "b.com"});
    row("international", "пример.рф 例子.中国 a.xn--p1ai http://a.com/x。",
        {"пример.рф", "例子.中国", "a.xn--p1ai", "http://a.com/x。"});
    row("file name, version, abbreviation", "main.cpp 1.2.3 v2.0 e.g. readme.txt z.b.", {});
    row("part of a longer token", "ann@a.com @a.com ann.a@b.com _a.com a.com_ -a.com a.com-x_y", {});
    row("shorter host before a dot", "a.com._x a.com.- a.b", {"a.com", "a.com"});
    const QString host63 = QString(63, 'a') + ".com";
    row("label of 63, not of 64", host63 + " a" + host63, {host63});
    row("unknown scheme", "note:text git://a.com x-y:z localhost:8080 http:a.com sip://a.com", {});
    row("other schemes with any text", "sip:x tel:+7(812)1 MAILTO:a@b callto:! sips:рф",
        {"sip:x", "tel:+7(812)1", "MAILTO:a@b", "callto", "sips:рф"});
    row("nothing behind the scheme but marks", "http://... sip:?! tel:", {"http://", "sip"});
    row("unknown ASCII domain", "http://server http://10.0.0.1:80/x HTTPS://A.LAN",
        {"http://server", "http://10.0.0.1:80/x", "HTTPS://A.LAN"});
    row("Cyrillic domain must be known",
        "http://пример.рф/x http://пример.фр http://b.фр./x http://a.XN--P1AI http://a.xn--zzzz",
        {"http://пример.рф/x", "http://a.XN--P1AI"});
    row("host that cannot be read", "http://[x http://[y].", {"http://[x", "http://[y]"});
    row("angle brackets end a link", "<http://a.com><b>b.com</b>", {"http://a.com", "b.com"});
    row("plus is no part of a token", "a+b.com a+http://a.com", {"b.com"});
    row("behind an astral character", "\U0001F600 \U0001F600a.com", {"a.com"});
    const QString ascii = "http://" + QString(600, 'a') + ".b";
    const QString longPath = "http://a.com/" + QString(600, u'ж');
    row("authority too long for a host name", "http://" + QString(513, u'ж') + ' ' + ascii + ' ' + longPath,
        {ascii, longPath});
}

void TestUrl::links()
{
    QFETCH(QString, text);
    QFETCH(QStringList, expected);

    QCOMPARE(Links(text), expected);
    QCOMPARE(Links(longPrefix + text.replace(" ", ' ' + longPrefix)), expected);
}

// What the engine finds and what stands in for it in long runs must be the same.
void TestUrl::longRuns()
{
    const QStringList parts =
        QString(
            "a|b|.|:|/|//|-|_|@|+|1|8080|com|http|http:|://|tel|mailto:|рф|ж|中|\u0301|\U0001F600|\U00010330|"
            "\u017f|\u212a|(|)|]|[|,|?|'|xn--p1ai|.com|.b.|ß|%41|\u00ad|%1|%2")
            .arg(QString(31, 'x'), QString(63, 'y'))
            .split('|');
    QRandomGenerator random(3);
    int found = 0;
    for (int i = 0; i < 30000; ++i) {
        QString text;
        for (int left = 1 + random.bounded(12); left > 0; --left) {
            text += parts.at(random.bounded(int(parts.size())));
        }
        const QStringList links = Links(text);
        found += int(links.size());
        QCOMPARE(Links(longPrefix + text), links);
    }
    QVERIFY2(found > 1500, "the texts must hold links");
}

void TestUrl::whiteSpace()
{
    // The engine's own notion of white space under Unicode rules.
    const QRegularExpression breaks("^[\\s<>]$", QRegularExpression::UseUnicodePropertiesOption);
    for (char16_t c = 1; c < 0xD800; ++c) {
        const bool isBreak = breaks.match(QString(QChar(c))).hasMatch();
        QCOMPARE(Links(longPrefix + QString("http://a/%1b").arg(QChar(c))).first().size(), isBreak ? 9 : 11);
    }
}

void TestUrl::hostile()
{
    QStringList texts{"http://" + QString("\u0301\u0316").repeated(500000),
                      "http://" + QString("%CC%81%CC%96").repeated(80000),
                      "http://a/" + QString(1000000, ')'), (QString(63, 'a') + '.').repeated(15000)};
    for (const QString unit :
         {"a", "a.", "(", "http://", "a+a:", "\u0301", "\U0001F600", "http://\u0301\u0316 ", "a-", "xn--"}) {
        texts += unit.repeated(1000000 / unit.size());
    }
    // Must end in time, and must not hide what stands behind.
    for (const QString& text : texts) {
        QVERIFY2(FindUrlRanges(text + " behind.com").last().start == text.size() + 1,
                 qPrintable(text.left(20)));
    }
}

void TestUrl::topLevelDomain()
{
    const QStringList valid{"com", "ac", "xn--p1acf", "XN--P1AI", "РФ", " Com\t", " .ru. "};
    const QStringList invalid{"",     " ",     ".",    "..",   "co m", "ac ad", "xn",    "xn--",
                              "muse", "a.com", "..ru", "ru..", "фр",   "com-",  "\u0301"};
    for (const QString& domain : valid + invalid) {
        QVERIFY2(IsValidTopLevelDomain(domain) == valid.contains(domain), qPrintable(domain));
    }
    QVERIFY2(!IsValidTopLevelDomain("com" + QString(1000000, QChar(0xAD))), "longer than any name");
}

QTEST_GUILESS_MAIN(TestUrl)
#include "tst_url.moc"
