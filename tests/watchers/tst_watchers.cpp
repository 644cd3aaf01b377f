#include <common/idle/idlewatcher.h>
#include <common/tools/sleepwatcher.h>

#include <logger/recordinglogger.h>
#include <table.h>

#include <QPointer>

#include <thread>

using common::IdleWatcher;
using tools::powerChangeNotify;
using tools::SleepWatcher;

namespace
{

constexpr unsigned long suspend = 4;
constexpr unsigned long automaticResume = 18;
constexpr unsigned long resume = 7;

class FakeBackend : public common::IIdleBackend
{
public:
    int getSeconds() override { return seconds; }

    int seconds = 60;
};

} // namespace

class TestWatchers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void idleReadings_data();
    void idleReadings();
    void idleBackend();
    void lastPointerGoesInSignal();
    void sleepFromAnotherThread();
};

void TestWatchers::initTestCase()
{
    qunsetenv("DISPLAY"); // The services of a desktop have separate tests.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent");
}

void TestWatchers::idleReadings_data()
{
    // `expected` lists the emitted signals, each with the poll interval at that time, and the final
    // interval.
    const Table<QList<int>, QString> row("readings", "expected");
    row("before the first minute", {40, 2, 59, 0}, "3000");
    row("whole minutes", {59, 60, 119, 120, 59}, "idle 60 at 1000,idle 120 at 1000,active at 3000,3000");
    row("back from the first minute", {60, 59}, "idle 60 at 1000,active at 3000,3000");
    row("a fall to above a minute", {200, 100, 130}, "idle 200 at 1000,active at 3000,idle 130 at 1000,1000");
}

void TestWatchers::idleReadings()
{
    QFETCH(QList<int>, readings);

    const auto watcher = IdleWatcher::instance();
    auto* parts = watcher->idleWatcherPrivate();
    QVERIFY(parts->timer.isActive());
    QCOMPARE(parts->timer.interval(), 3000);
    auto* backend = new FakeBackend;
    parts->backend.reset(backend);
    QString events;
    connect(watcher.data(), &IdleWatcher::idle, this, [&](int seconds) {
        events += QStringLiteral("idle %1 at %2,").arg(seconds).arg(parts->timer.interval());
    });
    connect(watcher.data(), &IdleWatcher::active, this, [&] {
        events += QStringLiteral("active at %1,").arg(parts->timer.interval());
        QVERIFY2(parts->lastSeconds >= 60, "the new reading is stored after the signal");
    });
    for (const int seconds : readings) {
        backend->seconds = seconds;
        watcher->checkIdleState();
        QCOMPARE(parts->lastSeconds, seconds);
    }
    QTEST(QString(events + QString::number(parts->timer.interval())), "expected");
}

void TestWatchers::idleBackend()
{
    RecordingLogger log;
    const auto watcher = IdleWatcher::instance();
    const auto& backend = watcher->idleWatcherPrivate()->backend;
#ifdef Q_OS_WIN
    const int first = backend->getSeconds();
    QTRY_VERIFY_WITH_TIMEOUT(backend->getSeconds() == first + 1, 5000);
#else
    QVERIFY(backend == nullptr);
    watcher->checkIdleState();
    QCOMPARE(log.lines[0].text, "cant resolve GetLastInputInfo Or IdleUIGetLastInputTime");
#endif
}

void TestWatchers::lastPointerGoesInSignal()
{
    auto watcher = IdleWatcher::instance();
    const QPointer<IdleWatcher> alive(watcher.data());
    watcher->idleWatcherPrivate()->backend = std::make_unique<FakeBackend>();
    connect(watcher.data(), &IdleWatcher::idle, this, [&watcher] { watcher.reset(); });
    // Let the timer emit the signal, as in a program.
    watcher->idleWatcherPrivate()->timer.start(1);
    QTRY_VERIFY(alive.isNull());
}

void TestWatchers::sleepFromAnotherThread()
{
    RecordingLogger log;
    SleepWatcher* watcher = SleepWatcher::instance();
    QCOMPARE(SleepWatcher::instance(), watcher);
#ifdef Q_OS_WIN
    QVERIFY(watcher->isInited());
    QVERIFY(log.lines.empty());
#else
    QVERIFY(!watcher->isInited());
    QCOMPARE(log.lines[0].text, "failed to initialize");
#endif
    QStringList events;
    connect(watcher, &SleepWatcher::sleep, this,
            [&] { events += watcher->isSleeping() ? "sleep" : "early"; });
    connect(watcher, &SleepWatcher::wake, this, [&] { events += watcher->isSleeping() ? "early" : "wake"; });
    std::thread([watcher] {
        for (const auto type : {suspend, suspend, automaticResume, resume, suspend}) {
            powerChangeNotify(watcher, type, nullptr);
        }
    }).join(); // This thread's event loop does not run during the wait.
    QVERIFY(events.isEmpty());
    QVERIFY(!watcher->isSleeping());
    QCOMPARE(log.lines.back().text, "PC sleep!");
    QCoreApplication::processEvents();
    QCOMPARE(events, QStringList({"sleep", "sleep", "wake", "sleep"}));
    QVERIFY(watcher->isSleeping());
    QCOMPARE(powerChangeNotify(nullptr, resume, nullptr), 0UL);
}

QTEST_GUILESS_MAIN(TestWatchers)
#include "tst_watchers.moc"
