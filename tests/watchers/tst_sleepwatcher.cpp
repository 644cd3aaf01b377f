#include <common/tools/sleepwatcher.h>

#include <logger/recordinglogger.h>

#include <QTest>

#include <thread>

using tools::powerChangeNotify;
using tools::SleepWatcher;

namespace
{

constexpr unsigned long suspend = 4;
constexpr unsigned long automaticResume = 18;
constexpr unsigned long resume = 7;

} // namespace

class TestSleepWatcher : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void fromAnotherThread();
    void withoutContext();
};

void TestSleepWatcher::initTestCase()
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    RecordingLogger log;
    const SleepWatcher* watcher = SleepWatcher::instance();
    QCOMPARE(SleepWatcher::instance(), watcher);
    QVERIFY(!watcher->isSleeping());
#ifdef Q_OS_WIN
    QVERIFY(watcher->isInited());
    QVERIFY(log.lines.empty());
#else
    QVERIFY(!watcher->isInited());
    QCOMPARE(log.lines.size(), std::size_t{1});
    QCOMPARE(log.lines.front().text, QString("failed to initialize"));
    QCOMPARE(log.lines.front().level, static_cast<int>(common::logger::Error));
    QCOMPARE(log.lines.front().channel, QByteArray("sleepwatcher"));
#endif
}

void TestSleepWatcher::fromAnotherThread()
{
    SleepWatcher* watcher = SleepWatcher::instance();
    QStringList events;
    QStringList emitted;
    QObject context;
    connect(watcher, &SleepWatcher::sleep, &context,
            [&] { events += watcher->isSleeping() ? "sleep, flag set" : "sleep"; });
    connect(watcher, &SleepWatcher::wake, &context,
            [&] { events += watcher->isSleeping() ? "wake" : "wake, flag cleared"; });
    connect(
        watcher, &SleepWatcher::sleep, &context, [&] { emitted += "sleep"; }, Qt::DirectConnection);

    std::thread system([watcher] {
        for (const unsigned long type :
             {suspend, suspend, automaticResume, resume, suspend, resume, suspend}) {
            if (powerChangeNotify(watcher, type, nullptr) != 0) {
                std::abort();
            }
        }
    });
    system.join(); // All the while this thread's event loop gets no turn.
    QCOMPARE(emitted.size(), 4);
    QVERIFY(events.isEmpty());
    QVERIFY(!watcher->isSleeping());

    QCoreApplication::processEvents();
    QCOMPARE(events, QStringList({"sleep, flag set", "sleep, flag set", "wake, flag cleared",
                                  "sleep, flag set", "wake, flag cleared", "sleep, flag set"}));
    QVERIFY(watcher->isSleeping());
    powerChangeNotify(watcher, automaticResume, nullptr);
    QVERIFY(watcher->isSleeping());
    powerChangeNotify(watcher, resume, nullptr);
    QVERIFY(!watcher->isSleeping());
}

void TestSleepWatcher::withoutContext()
{
    const RecordingLogger log;
    for (const unsigned long type : {suspend, automaticResume, resume}) {
        QCOMPARE(powerChangeNotify(nullptr, type, nullptr), 0UL);
    }
    QCOMPARE(log.lines.size(), std::size_t{2});
    QCOMPARE(log.lines.at(0).text, QString("PC sleep!"));
    QCOMPARE(log.lines.at(1).text, QString("PC wake!"));
    QCOMPARE(log.lines.at(1).level, static_cast<int>(common::logger::Debug));
    QCOMPARE(log.lines.at(1).channel, QByteArray("sleepwatcher"));
}

QTEST_GUILESS_MAIN(TestSleepWatcher)
#include "tst_sleepwatcher.moc"
