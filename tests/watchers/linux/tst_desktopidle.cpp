#include <common/idle/idlewatcher.h>

#include <desktop/privatebus.h>
#include <desktop/xserver.h>
#include <logger/recordinglogger.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <cstdio>

using common::IdleWatcher;

namespace
{

/// Prints what the backend that is found here tells each 600 ms, as often as is asked for.
int PrintReadings(int count)
{
    const auto watcher = IdleWatcher::instance();
    const auto& backend = watcher->idleWatcherPrivate()->backend;
    for (int i = 0; i < count; ++i) {
        std::printf("%d ", backend != nullptr ? backend->getSeconds() : -1);
        std::fflush(stdout);
        QThread::msleep(600);
    }
    return 0;
}

} // namespace

/// Tells an idle time that grows with the clock, in the unit that a desktop uses.
class IdleService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.ScreenSaver")

public:
    explicit IdleService(int unitsPerSecond_)
        : unitsPerSecond(unitsPerSecond_)
    {
        clock.start();
    }

public Q_SLOTS:
    uint GetSessionIdleTime() const
    {
        constexpr qint64 start = 100000; // ms
        return static_cast<uint>((start + clock.elapsed()) * unitsPerSecond / 1000);
    }

private:
    int unitsPerSecond;
    QElapsedTimer clock;
};

class MutterService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.gnome.Mutter.IdleMonitor")

public Q_SLOTS:
    qulonglong GetIdletime() const { return 4999; }
};

class TestDesktopIdle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void screenSaverExtension();
    void serverGoesAway();
    void service_data();
    void service();

private:
    static QByteArray Readings(const QByteArray& wayland = QByteArray());
};

void TestDesktopIdle::screenSaverExtension()
{
    const XServer server;
    QVERIFY(server.IsRunning());
    QVERIFY(XServer::Act({"mousemove", "10", "10"}));
    const auto watcher = IdleWatcher::instance();
    auto* parts = watcher->idleWatcherPrivate();
    QVERIFY(parts->backend != nullptr);
    QTRY_VERIFY_WITH_TIMEOUT(parts->backend->getSeconds() == 2, 10000);

    // As if a minute had gone: the return is seen by the poll of the idle state.
    parts->lastSeconds = 60;
    parts->timer.setInterval(1000);
    const QSignalSpy active(watcher.data(), &IdleWatcher::active);
    QVERIFY(XServer::Act({"mousemove", "20", "20"}));
    QTRY_COMPARE_WITH_TIMEOUT(active.count(), 1, 1500);
    QVERIFY(parts->backend->getSeconds() <= 1);
}

void TestDesktopIdle::serverGoesAway()
{
    auto server = std::make_unique<XServer>();
    const auto watcher = IdleWatcher::instance();
    auto* parts = watcher->idleWatcherPrivate();
    QVERIFY(parts->backend != nullptr);
    server.reset();
    const RecordingLogger log;
    QCOMPARE(parts->backend->getSeconds(), 0);
    QCOMPARE(log.lines.size(), std::size_t{1});
    QCOMPARE(log.lines.front().text, QString("GetLastInputInfo returned not ok"));
    QCOMPARE(log.lines.front().channel, QByteArray("common.idle"));
    QCOMPARE(log.lines.front().level, static_cast<int>(common::logger::Error));
}

/// What a program of its own reads, while this one answers.
QByteArray TestDesktopIdle::Readings(const QByteArray& wayland)
{
    QProcess process;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert("WAYLAND_DISPLAY", wayland);
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationFilePath(), {"--readings", "4"});
    QSignalSpy finished(&process, &QProcess::finished);
    return finished.wait(30000) ? process.readAllStandardOutput() : "not finished";
}

void TestDesktopIdle::service_data()
{
    QTest::addColumn<int>("unitsPerSecond");
    QTest::addColumn<bool>("mutter");
    QTest::addColumn<QString>("readings");

    QTest::newRow("in seconds") << 1 << false << "0 (0 )*(10[0-9] )+";
    QTest::newRow("in milliseconds") << 1000 << false << "0 10[0-9] 10[0-9] 10[0-9] ";
    QTest::newRow("the window manager's own") << 0 << true << "4 4 4 4 ";
    QTest::newRow("nobody") << 0 << false << "-1 -1 -1 -1 ";
}

void TestDesktopIdle::service()
{
    QFETCH(int, unitsPerSecond);
    QFETCH(bool, mutter);
    QFETCH(QString, readings);

    const PrivateBus bus("session");
    QVERIFY(bus.IsRunning());
    const QString name = QTest::currentDataTag();
    auto connection = QDBusConnection::connectToBus(QString::fromUtf8("unix:path=" + bus.Path()), name);
    IdleService screenSaver(unitsPerSecond);
    MutterService monitor;
    if (unitsPerSecond > 0) {
        QVERIFY(connection.registerObject("/org/freedesktop/ScreenSaver", &screenSaver,
                                          QDBusConnection::ExportAllSlots));
        QVERIFY(connection.registerService("org.freedesktop.ScreenSaver"));
    }
    if (mutter) {
        QVERIFY(connection.registerObject("/org/gnome/Mutter/IdleMonitor/Core", &monitor,
                                          QDBusConnection::ExportAllSlots));
        QVERIFY(connection.registerService("org.gnome.Mutter.IdleMonitor"));
    }
    const QRegularExpression expected(QRegularExpression::anchoredPattern(readings));
    QByteArray told = Readings();
    QVERIFY2(expected.match(told).hasMatch(), told.constData());
    if (mutter) {
        const XServer server;
        told = Readings("wayland-0");
        QVERIFY2(expected.match(told).hasMatch(), "comes before the X server in a Wayland session");
    }
    QDBusConnection::disconnectFromBus(name);
}

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    if (argc > 2 && qstrcmp(argv[1], "--readings") == 0) {
        return PrintReadings(QByteArray(argv[2]).toInt());
    }
    TestDesktopIdle test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_desktopidle.moc"
