#include <common/tools/version.h>

#include <QTest>

using common::Version;

class TestVersion : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parsing_data();
    void parsing();
    void ordering();
    void nullness();
};

void TestVersion::parsing_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    QTest::newRow("missing fields stay 0") << "1.2.3"
                                           << "1.2.3.0";
    QTest::newRow("fifth part is ignored") << "1.2.3.4.5"
                                           << "1.2.3.4";
    QTest::newRow("empty") << ""
                           << "0.0.0.0";
    QTest::newRow("mixed separators") << "1,2_3-4"
                                      << "1.2.3.4";
    QTest::newRow("letters spoil one part only") << "1.2rc1.3.4"
                                                 << "1.0.3.4";
    QTest::newRow("empty parts are parts") << "1..3"
                                           << "1.0.3.0";
    QTest::newRow("minus is a separator, not a sign") << "-1.2"
                                                      << "0.1.2.0";
    QTest::newRow("blank around a number") << "1. 2 .3.4"
                                           << "1.2.3.4";
    QTest::newRow("largest part") << "4294967295.4294967296"
                                  << "4294967295.0.0.0";
}

void TestVersion::parsing()
{
    QFETCH(QString, text);
    QFETCH(QString, expected);

    QCOMPARE(Version(text).ToString(), expected);
    QCOMPARE(Version(text.toUtf8().constData()).ToString(), expected);
}

void TestVersion::ordering()
{
    const Version ascending[] = {{},           {0, 0, 0, 1}, {0, 0, 1, 0},          {1, 2, 3, 4},
                                 {1, 2, 3, 5}, {1, 3, 0, 0}, {4294967295u, 0, 0, 0}};
    for (const Version& a : ascending) {
        for (const Version& b : ascending) {
            QCOMPARE(a < b, &a < &b);
            QCOMPARE(a > b, &a > &b);
            QCOMPARE(a <= b, &a <= &b);
            QCOMPARE(a >= b, &a >= &b);
            QCOMPARE(a == b, &a == &b);
            QCOMPARE(a != b, &a != &b);
        }
    }
}

void TestVersion::nullness()
{
    QVERIFY(Version().IsNull());
    QVERIFY(!Version(static_cast<const char*>(nullptr)));
    QVERIFY(Version("0.0.0.1"));
}

QTEST_GUILESS_MAIN(TestVersion)
#include "tst_version.moc"
