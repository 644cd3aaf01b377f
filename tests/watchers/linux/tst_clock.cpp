#include <common/tools/datewatcher.h>

#include <QCoreApplication>
#include <QProcess>
#include <QTest>
#include <QTimer>

#include <cstdio>

using tools::DateWatcher;

namespace
{

/// Prints what the watcher tells in two polls, on a clock that was set before the program began.
int WatchTwoPolls()
{
    const auto watcher = DateWatcher::GetDateWatcher();
    const auto print = [](const char* what) {
        // A second that ends between two readings of the clock is told as a zone of its own, and is meant.
        const QDateTime now = QDateTime::currentDateTime().toTimeZone(DateWatcher::CurrentTimeZone());
        if (now.offsetFromUtc() % 60 == 0) {
            std::printf("%s %s\n", what,
                        qPrintable(DateWatcher::CurrentDate().toString(Qt::ISODate) + now.toString(" t")));
        }
    };
    QObject::connect(watcher.data(), &DateWatcher::currentDateChanged, qApp, [=] { print("date"); });
    QObject::connect(watcher.data(), &DateWatcher::currentTimeZoneChanged, qApp, [=] { print("zone"); });
    QTimer::singleShot(6500, qApp, &QCoreApplication::quit);
    return QCoreApplication::exec();
}

} // namespace

class TestClock : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void changes();
};

void TestClock::changes()
{
    const struct
    {
        const char* zone;
        const char* start;
        const char* told;
    } cases[] = {
        {"UTC0", "2026-03-28 23:59:58", "date 2026-03-29 UTC\n"},
        {"WST+8", "2026-03-28 23:59:58", "date 2026-03-29 UTC-08\n"},
        {"UTC0", "2026-03-28 12:59:58", ""},
        // The offset is taken as if the clock of UTC were local: it changes when that clock leaves the gap.
        {"CET-1CEST,M3.5.0/2,M10.5.0/3", "2026-03-29 04:59:58", "zone 2026-03-29 UTC+02\n"},
        // The offset takes the date with it.
        {"AAA0BBB-1,J88/22,J300/22", "2026-03-29 23:59:58", "zone 2026-03-30 UTC+01\n"},
    };
    // Side by side, since each takes the time of two polls.
    std::vector<std::unique_ptr<QProcess>> processes;
    for (const auto& entry : cases) {
        processes.push_back(std::make_unique<QProcess>());
        processes.back()->start("env",
                                {QString("TZ=") + entry.zone, QString("FAKETIME=@") + entry.start,
                                 "FAKETIME_DONT_FAKE_MONOTONIC=1", QString("LD_PRELOAD=") + FAKETIME_LIBRARY,
                                 QCoreApplication::applicationFilePath(), "--watch"});
    }
    for (std::size_t i = 0; i < processes.size(); ++i) {
        QVERIFY(processes[i]->waitForFinished(60000));
        QCOMPARE(processes[i]->readAll(), cases[i].told);
    }
}

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    if (argc > 1 && qstrcmp(argv[1], "--watch") == 0) {
        return WatchTwoPolls();
    }
    TestClock test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_clock.moc"
