#include <common/idle/idlewatcher.h>

#include <QPointer>
#include <QTest>

using common::IdleWatcher;

namespace
{

class FakeBackend : public common::IIdleBackend
{
public:
    int getSeconds() override { return seconds; }

    int seconds = 0;
};

} // namespace

class TestIdleWatcher : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readings_data();
    void readings();
    void twoWatchers();
    void withoutBackend();
    void lastPointerGoesInSignal();
    void realReading();
};

void TestIdleWatcher::readings_data()
{
    QTest::addColumn<QList<int>>("readings");
    QTest::addColumn<QString>("told"); // What each reading tells, with the poll's interval at that moment.
    QTest::addColumn<int>("interval");

    const auto row = [](const char* name, const QList<int>& readings, const char* told, int interval) {
        QTest::newRow(name) << readings << QString(told) << interval;
    };
    row("a return before the first minute", {40, 2}, "", 3000);
    row("the minute itself", {59, 60}, "idle 60 at 1000", 1000);
    row("within a minute", {61, 119}, "idle 61 at 1000", 1000);
    row("the next minute", {61, 119, 120}, "idle 61 at 1000,idle 120 at 1000", 1000);
    row("a jump over minutes", {10, 200}, "idle 200 at 1000", 1000);
    row("away from the start", {500}, "idle 500 at 1000", 1000);
    row("a return from 60 to 59", {60, 59}, "idle 60 at 1000,active at 3000", 3000);
    row("no return from 59", {59, 0}, "", 3000);
    row("the same reading", {70, 70}, "idle 70 at 1000", 1000);
    row("a fall that stays above a minute", {200, 100, 130},
        "idle 200 at 1000,active at 3000,idle 130 at 1000", 1000);
    row("a failing backend is a return", {60, 0}, "idle 60 at 1000,active at 3000", 3000);
    row("idle again after a return", {65, 3, 59, 61}, "idle 65 at 1000,active at 3000,idle 61 at 1000", 1000);
    row("three minutes of rest", {60, 120, 180, 1},
        "idle 60 at 1000,idle 120 at 1000,idle 180 at 1000,active at 3000", 3000);
}

void TestIdleWatcher::readings()
{
    QFETCH(QList<int>, readings);
    QFETCH(QString, told);
    QFETCH(int, interval);

    const auto watcher = IdleWatcher::instance();
    auto* parts = watcher->idleWatcherPrivate();
    QVERIFY(parts->timer.isActive());
    QCOMPARE(parts->timer.interval(), 3000);
    auto* backend = new FakeBackend;
    parts->backend.reset(backend);
    QStringList events;
    connect(watcher.data(), &IdleWatcher::idle, this, [&](int seconds) {
        events += QStringLiteral("idle %1 at %2").arg(seconds).arg(parts->timer.interval());
    });
    connect(watcher.data(), &IdleWatcher::active, this, [&] {
        events += QStringLiteral("active at %1").arg(parts->timer.interval());
        QVERIFY2(parts->lastSeconds >= 60, "the new reading is stored after the signal");
    });
    for (const int seconds : readings) {
        backend->seconds = seconds;
        watcher->checkIdleState();
        QCOMPARE(parts->lastSeconds, seconds);
    }
    QCOMPARE(events.join(','), told);
    QCOMPARE(parts->timer.interval(), interval);
}

void TestIdleWatcher::twoWatchers()
{
    const auto first = IdleWatcher::instance();
    const auto second = IdleWatcher::instance();
    QVERIFY(first != second);
    QVERIFY(first->idleWatcherPrivate() != second->idleWatcherPrivate());
    QCOMPARE(first->parent(), nullptr);
}

void TestIdleWatcher::withoutBackend()
{
    const auto watcher = IdleWatcher::instance();
    watcher->idleWatcherPrivate()->backend.reset();
    watcher->checkIdleState();
    QCOMPARE(watcher->idleWatcherPrivate()->lastSeconds, 0);
    QVERIFY(watcher->idleWatcherPrivate()->timer.isActive());
}

void TestIdleWatcher::lastPointerGoesInSignal()
{
    auto watcher = IdleWatcher::instance();
    const QPointer<IdleWatcher> alive(watcher.data());
    auto backend = std::make_unique<FakeBackend>();
    backend->seconds = 60;
    watcher->idleWatcherPrivate()->backend = std::move(backend);
    connect(watcher.data(), &IdleWatcher::idle, this, [&watcher] { watcher.reset(); });
    // By the timer, as it is in real life.
    watcher->idleWatcherPrivate()->timer.start(1);
    QTRY_VERIFY(alive.isNull());
}

void TestIdleWatcher::realReading()
{
#ifndef Q_OS_WIN
    qunsetenv("DISPLAY"); // Real readings are in the test of the desktop's services.
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("XDG_RUNTIME_DIR", "/nonexistent");
#endif
    const auto watcher = IdleWatcher::instance();
    const auto& backend = watcher->idleWatcherPrivate()->backend;
#ifdef Q_OS_WIN
    QVERIFY(backend != nullptr);
    const int first = backend->getSeconds();
    QVERIFY(first >= 0);
    QTRY_VERIFY_WITH_TIMEOUT(backend->getSeconds() == first + 1, 5000);
#else
    QVERIFY(backend == nullptr);
#endif
}

QTEST_GUILESS_MAIN(TestIdleWatcher)
#include "tst_idlewatcher.moc"
