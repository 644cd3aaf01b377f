#include "../../../src/libs/common/idle/linux/idleunit.h"

#include <common/idle/idlewatcher.h>

#include <desktop/privatebus.h>
#include <desktop/xserver.h>
#include <logger/recordinglogger.h>
#include <table.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QDateTime>
#include <QLocalServer>
#include <QThread>

#include <chrono>

using common::IdleWatcher;

/// Replies as the screen saver, whose idle time grows with the clock, and as the window manager.
class IdleServices : public QDBusVirtualObject
{
public:
    QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        const bool windowManager = message.member() == "GetIdletime";
        const QVariant saverTime = static_cast<uint>(QDateTime::currentMSecsSinceEpoch() - start);
        return connection.send(message.createReply(windowManager ? QVariant(4999ULL) : saverTime));
    }

private:
    const qint64 start = QDateTime::currentMSecsSinceEpoch() - 100000;
};

class TestDesktopIdle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void screenSaverExtension();
    void unit_data();
    void unit();
    void services();
};

void TestDesktopIdle::screenSaverExtension()
{
    auto server = std::make_unique<XServer>();
    const auto watcher = IdleWatcher::instance();
    const auto& backend = watcher->idleWatcherPrivate()->backend;
    QVERIFY(XServer::Act({"mousemove", "10", "10"}));
    QTRY_VERIFY_WITH_TIMEOUT(backend->getSeconds() == 2, 10000);

    server.reset();
    const RecordingLogger log;
    QCOMPARE(backend->getSeconds(), 0);
    QCOMPARE(log.lines[0].text, "GetLastInputInfo returned not ok");
}

void TestDesktopIdle::unit_data()
{
    // Columns: first replies, at intervals of 3 s; growth per later reply; idle time at the last reply, in
    // ms.
    const Table<QList<uint>, uint, qint64> row("before", "step", "expected");
    const QList<uint> typing{3, 6, 9, 12, 15, 18, 21, 24, 27, 5};
    row("seconds", {0, 0, 0}, 3, 27000);
    row("milliseconds after typing that looks like seconds", typing, 3000, 27005);
    const QList<uint> resting{100, 3100, 6100, 9100, 12100, 15100, 18100, 21100, 24100, 127};
    row("milliseconds that come to look like seconds", resting, 3000, 27127);
    row("neither", typing, 30, -1);
}

void TestDesktopIdle::unit()
{
    QFETCH(QList<uint>, before);
    QFETCH(uint, step);
    QFETCH(qint64, expected);

    common::IdleUnit unit;
    std::chrono::milliseconds now{4000000000}; // 32-bit ticks have wrapped.
    for (const uint number : before) {
        QVERIFY(!unit.ToIdleTime(number, now += std::chrono::seconds(3)).has_value());
    }
    for (uint i = 1; i < 10; ++i) {
        const auto idle = unit.ToIdleTime(before.last() + i * step, now += std::chrono::seconds(3));
        QCOMPARE(idle.has_value() ? idle->count() : -1, i < 9 ? -1 : expected);
    }
}

void TestDesktopIdle::services()
{
    QLocalServer silent; // Accepts the connection and never replies.
    QVERIFY(silent.listen("vxcommon-silent-bus-" + QString::number(QCoreApplication::applicationPid())));
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + silent.fullServerName().toUtf8());
    QVERIFY(IdleWatcher::instance()->idleWatcherPrivate()->backend == nullptr);

    const PrivateBus bus("session");
    auto connection = QDBusConnection::connectToBus("unix:path=" + bus.Path(), "services");
    IdleServices services;
    QVERIFY(connection.registerVirtualObject("/org", &services, QDBusConnection::SubPath));
    QThread thread; // The services reply while the watcher blocks.
    services.moveToThread(&thread);
    thread.start();

    QVERIFY(IdleWatcher::instance()->idleWatcherPrivate()->backend == nullptr);
    QVERIFY(connection.registerService("org.freedesktop.ScreenSaver"));
    const auto screenSaver = IdleWatcher::instance();
    QCOMPARE(screenSaver->idleWatcherPrivate()->backend->getSeconds(), 0);
    QTRY_COMPARE(screenSaver->idleWatcherPrivate()->backend->getSeconds() / 10, 10);
    const XServer server;
    qputenv("WAYLAND_DISPLAY", "wayland-0");
    QVERIFY(connection.registerService("org.gnome.Mutter.IdleMonitor"));
    QCOMPARE(IdleWatcher::instance()->idleWatcherPrivate()->backend->getSeconds(), 4);
    thread.quit();
    QVERIFY(thread.wait());
}

QTEST_GUILESS_MAIN(TestDesktopIdle)
#include "tst_desktopidle.moc"
