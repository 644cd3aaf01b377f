#include <common/tools/datewatcher.h>

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <cstdio>
#include <ctime>
#include <memory>

using tools::DateWatcher;

namespace
{

/// Prints what the watcher tells in two polls, on a clock that was set before the program began.
int WatchTwoPolls()
{
    const auto watcher = DateWatcher::GetDateWatcher();
    QObject::connect(watcher.data(), &DateWatcher::currentDateChanged, watcher.data(), [] {
        std::printf("date %s\n", qPrintable(DateWatcher::CurrentDate().toString(Qt::ISODate)));
    });
    QObject::connect(watcher.data(), &DateWatcher::currentTimeZoneChanged, watcher.data(), [] {
        // A second that ends between two readings of the clock is told as a zone of its own, and is meant.
        if (DateWatcher::CurrentTimeZone().offsetFromUtc(QDateTime::currentDateTime()) % 60 == 0) {
            std::printf("zone %s %s\n", DateWatcher::CurrentTimeZone().id().constData(),
                        qPrintable(DateWatcher::CurrentDate().toString(Qt::ISODate)));
        }
    });
    QTimer::singleShot(6500, qApp, &QCoreApplication::quit);
    return QCoreApplication::exec();
}

} // namespace

class TestClock : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void changes();
    void zone_data();
    void zone();
};

void TestClock::changes()
{
    struct Case
    {
        const char* name;
        const char* zone;
        const char* start;
        const char* told;
    };
    const Case cases[] = {
        {"midnight", "UTC0", "2026-03-28 23:59:58", "date 2026-03-29\n"},
        // The offset is taken as if the clock of UTC were local: it changes when that clock leaves the gap.
        {"summer begins", "CET-1CEST,M3.5.0/2,M10.5.0/3", "2026-03-29 04:59:58", "zone UTC+02 2026-03-29\n"},
        {"the offset takes the date with it", "AAA0BBB-1,J88/22,J300/22", "2026-03-29 23:59:58",
         "zone UTC+01 2026-03-30\n"},
        {"an ordinary moment", "UTC0", "2026-03-28 12:59:58", ""},
    };
    QVERIFY(QFileInfo::exists(FAKETIME_LIBRARY));
    // Side by side, since each takes the time of two polls.
    std::vector<std::unique_ptr<QProcess>> processes;
    for (const Case& entry : cases) {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert("LD_PRELOAD", FAKETIME_LIBRARY);
        environment.insert("FAKETIME", QString("@") + entry.start);
        environment.insert("FAKETIME_DONT_FAKE_MONOTONIC", "1");
        environment.insert("TZ", entry.zone);
        processes.push_back(std::make_unique<QProcess>());
        processes.back()->setProcessEnvironment(environment);
        processes.back()->start(QCoreApplication::applicationFilePath(), {"--watch"});
    }
    for (std::size_t i = 0; i < processes.size(); ++i) {
        QVERIFY2(processes[i]->waitForFinished(60000), cases[i].name);
        QVERIFY2(processes[i]->exitStatus() == QProcess::NormalExit, cases[i].name);
        const QByteArray told = processes[i]->readAllStandardOutput();
        QVERIFY2(told == cases[i].told, (cases[i].name + (": " + told)).constData());
    }
}

void TestClock::zone_data()
{
    QTest::addColumn<QByteArray>("rule"); // As in the TZ of POSIX.
    QTest::addColumn<int>("offset");

    QTest::newRow("east") << QByteArray("EST-5:30") << 19800;
    QTest::newRow("west") << QByteArray("WST+8") << -28800;
    QTest::newRow("utc") << QByteArray("UTC0") << 0;
}

void TestClock::zone()
{
    QFETCH(QByteArray, rule);
    QFETCH(int, offset);

    qputenv("TZ", "ZZZ-1");
    tzset();
    const auto watcher = DateWatcher::GetDateWatcher();
    QMetaObject::invokeMethod(watcher.data(), "OnTimerTimeout");
    const QSignalSpy zoneChanged(watcher.data(), &DateWatcher::currentTimeZoneChanged);
    const QSignalSpy dateChanged(watcher.data(), &DateWatcher::currentDateChanged);
    qputenv("TZ", rule);
    tzset();
    QTRY_COMPARE_WITH_TIMEOUT(zoneChanged.count(), 1, 3500);
    QCOMPARE(dateChanged.count(), 0);
    QVERIFY(watcher->GetTimeZone() == QTimeZone(offset) || watcher->GetTimeZone() == QTimeZone(offset + 1));
    QCOMPARE(watcher->GetCurrentDate(), QDate::currentDate());
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
