#include <common/tools/datewatcher.h>

#include <table.h>

#include <QTimer>

using tools::DateWatcher;

class TestClock : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void changes_data();
    void changes();
};

void TestClock::changes_data()
{
    const Table<QByteArray, QByteArray, QByteArray, QString> row("zone", "before", "after", "expected");
    row("no change", "UTC0", "2026-03-28 12:59:58", "2026-03-28 13:00:01", "2026-03-28 +0 h");
    row("a new day", "WST+8", "2026-03-28 23:59:58", "2026-03-29 00:00:01", "date 2026-03-29 -8 h");
    // The offset is computed as if UTC were local time, so it changes after the hour of UTC that local time
    // skips.
    row("summer time", "CET-1CEST,M3.5.0/2,M10.5.0/3", "2026-03-29 04:59:58", "2026-03-29 05:00:01",
        "zone 2026-03-29 +2 h");
    row("an offset that takes the date with it", "AAA0BBB-1,J88/22,J300/22", "2026-03-29 23:59:58",
        "2026-03-30 00:00:01", "zone 2026-03-30 +1 h");
}

void TestClock::changes()
{
    QFETCH(QByteArray, zone);
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);

    const auto watcher = DateWatcher::GetDateWatcher();
    auto* const timer = watcher->findChild<QTimer*>();
    QVERIFY(timer->isActive());
    QCOMPARE(timer->interval(), 3000);
    const auto pollAt = [timer](const QByteArray& time) {
        qputenv("FAKETIME", time);
        QMetaObject::invokeMethod(timer, "timeout");
    };
    qputenv("TZ", zone);
    pollAt(before);
    QString events;
    connect(watcher.data(), &DateWatcher::currentDateChanged, this, [&] { events += "date "; });
    connect(watcher.data(), &DateWatcher::currentTimeZoneChanged, this, [&] { events += "zone "; });
    pollAt(after);
    watcher->disconnect(this);
    const int offset = DateWatcher::CurrentTimeZone().offsetFromUtc(QDateTime::currentDateTime());
    events += DateWatcher::CurrentDate().toString(Qt::ISODate) + QString::asprintf(" %+d h", offset / 3600);
    QTEST(events, "expected");
}

QTEST_GUILESS_MAIN(TestClock)
#include "tst_clock.moc"
