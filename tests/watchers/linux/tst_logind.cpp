#include <common/tools/sleepwatcher.h>

#include <desktop/privatebus.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QLocalServer>
#include <QTest>
#include <QThread>
#include <QTimer>

using tools::SleepWatcher;

namespace
{

/// Uses the watcher in a program of its own, from the first call to the exit. Whether it was inited.
int RunAsChild(int argc, char* argv[])
{
    const QByteArray way(argv[1]);
    const auto app =
        way != "--without-application" ? std::make_unique<QCoreApplication>(argc, argv) : nullptr;
    const auto* const watcher = SleepWatcher::instance();
    if (app != nullptr) {
        QObject::connect(watcher, &SleepWatcher::sleep, app.get(), &QCoreApplication::quit);
        QTimer::singleShot(way == "--until-sleep" ? 30000 : 0, app.get(), &QCoreApplication::quit);
        QCoreApplication::exec();
    }
    return watcher->isInited() ? 1 : 0;
}

QStringList Announcement(const char* begins, const QString& receiver = QString())
{
    QStringList arguments{"--system", "--type=signal", "/org/freedesktop/login1",
                          "org.freedesktop.login1.Manager.PrepareForSleep", begins};
    if (!receiver.isEmpty()) {
        arguments.insert(2, "--dest=" + receiver);
    }
    return arguments;
}

} // namespace

class TestLogind : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void wholeLives();
    void announcements();
};

void TestLogind::wholeLives()
{
    const QString program = QCoreApplication::applicationFilePath();
    QLocalServer silent; // Takes the connection and says nothing.
    QVERIFY(silent.listen("vxcommon-silent-bus-" + QString::number(QCoreApplication::applicationPid())));
    for (const QString& path : {silent.fullServerName(), QString("/nonexistent")}) {
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + path.toUtf8());
        QCOMPARE(QProcess::execute(program, {"--with-application"}), 0);
    }
    const PrivateBus bus("system");
    QVERIFY(bus.IsRunning());
    QCOMPARE(QProcess::execute(program, {"--with-application"}), 1);
    QCOMPARE(QProcess::execute(program, {"--without-application"}), 1);

    // Without a logind whoever announces is believed.
    QProcess child;
    child.start(program, {"--until-sleep"});
    QVERIFY(child.waitForStarted());
    QElapsedTimer clock;
    clock.start();
    do {
        QCOMPARE(QProcess::execute("dbus-send", Announcement("boolean:true")), 0);
    } while (!child.waitForFinished(100) && clock.elapsed() < 20000);
    QVERIFY(child.state() == QProcess::NotRunning);
}

void TestLogind::announcements()
{
    const PrivateBus bus("system");
    QVERIFY(bus.IsRunning());
    auto login = QDBusConnection::connectToBus("unix:path=" + bus.Path(), "login");
    QVERIFY(login.registerService("org.freedesktop.login1"));
    const QStringList others = login.interface()->registeredServiceNames();
    SleepWatcher* watcher = SleepWatcher::instance();
    QVERIFY(watcher->isInited());
    QStringList events;
    connect(watcher, &SleepWatcher::sleep, this, [&] { events += "sleep"; });
    connect(watcher, &SleepWatcher::wake, this, [&] { events += "wake"; });
    const QThread* const owner = QThread::currentThread();
    const auto onOwner = [owner] { QVERIFY(QThread::currentThread() != owner); };
    connect(watcher, &SleepWatcher::sleep, this, onOwner, Qt::DirectConnection);

    // Nobody else is believed, not even in a signal that is sent to this process.
    QStringList receivers = login.interface()->registeredServiceNames();
    receivers.removeIf([&others](const QString& name) { return others.contains(name); });
    QCOMPARE(receivers.size(), 1);
    for (const QString& receiver : {receivers[0], QString()}) {
        QCOMPARE(QProcess::execute("dbus-send", Announcement("boolean:false", receiver)), 0);
    }
    for (const bool begins : {true, false, true, true}) {
        auto signal = QDBusMessage::createSignal("/org/freedesktop/login1", "org.freedesktop.login1.Manager",
                                                 "PrepareForSleep");
        signal << begins;
        QVERIFY(login.send(signal));
    }
    QTRY_COMPARE(events, QStringList({"sleep", "wake", "sleep", "sleep"}));
    QVERIFY(watcher->isSleeping());
}

int main(int argc, char* argv[])
{
    if (argc > 1 &&
        QStringList{"--with-application", "--without-application", "--until-sleep"}.contains(argv[1])) {
        return RunAsChild(argc, argv);
    }
    QCoreApplication app(argc, argv);
    TestLogind test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_logind.moc"
