#include <common/tools/datewatcher.h>

#include <QTest>

using tools::DateWatcher;

class TestDateWatcher : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sharedInstance();
};

void TestDateWatcher::sharedInstance()
{
    const QDate before = QDate::currentDate();
    const QDate date = DateWatcher::CurrentDate();
    QVERIFY(date >= before && date <= QDate::currentDate());
    const QWeakPointer<DateWatcher> weak = DateWatcher::GetDateWatcher();
    QVERIFY2(!weak.isNull(), "dropping the pointer does not end it");
    QCOMPARE(DateWatcher::GetDateWatcher(), weak.toStrongRef());
    const int offset = QDateTime::currentDateTime().offsetFromUtc();
    const QTimeZone zone = DateWatcher::CurrentTimeZone();
    // One more is the known answer when a second ends between two readings of the clock.
    QVERIFY(zone == QTimeZone(offset) || zone == QTimeZone(offset + 1));
}

QTEST_GUILESS_MAIN(TestDateWatcher)
#include "tst_datewatcher.moc"
