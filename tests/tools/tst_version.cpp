#include <common/tools/version.h>

#include <QTest>

using common::Version;

class TestVersion : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parsing();
    void ordering();
};

void TestVersion::parsing()
{
    const QMap<QString, QString> versions{
        {"1.2.3.4.5", "1.2.3.4"}, {"", "0.0.0.0"},
        {"1,2_3-4", "1.2.3.4"},   {"1.2rc1.3.4", "1.0.3.4"},
        {"1..3", "1.0.3.0"},      {"-1.2", "0.1.2.0"},
        {"1. 2 .3.4", "1.2.3.4"}, {"4294967295.4294967296", "4294967295.0.0.0"},
    };
    for (const auto& [text, expected] : versions.toStdMap()) {
        QCOMPARE(Version(text).ToString(), expected);
        QCOMPARE(Version(text.toUtf8().constData()).ToString(), expected);
    }
    QVERIFY(Version().IsNull() && Version("0.0.0.1"));
    QVERIFY(!Version(static_cast<const char*>(nullptr)));
}

void TestVersion::ordering()
{
    const Version ascending[] = {{}, "0.0.0.1", "0.0.1", "1.2.3.4", "1.2.3.5", "1.3", {4294967295u, 0, 0, 0}};
    for (const Version& a : ascending) {
        for (const Version& b : ascending) {
            QVERIFY((a < b) == (&a < &b) && (a > b) == (&a > &b) && (a == b) == (&a == &b));
            QVERIFY((a <= b) == (&a <= &b) && (a >= b) == (&a >= &b) && (a != b) == (&a != &b));
        }
    }
}

QTEST_GUILESS_MAIN(TestVersion)
#include "tst_version.moc"
