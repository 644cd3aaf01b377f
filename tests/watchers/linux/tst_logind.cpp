#include <common/tools/sleepwatcher.h>

#include <desktop/privatebus.h>
#include <logger/recordinglogger.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QScopeGuard>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <csignal>

using tools::SleepWatcher;

namespace
{

/// Uses the watcher from the first call to the exit of a process. Returns whether it was inited.
int RunAsChild(int argc, char* argv[])
{
    std::unique_ptr<QCoreApplication> app;
    if (qstrcmp(argv[1], "--with-application") == 0) {
        app = std::make_unique<QCoreApplication>(argc, argv);
        QTimer::singleShot(0, app.get(), &QCoreApplication::quit);
    }
    const auto* const watcher = SleepWatcher::instance();
    if (app != nullptr) {
        QCoreApplication::exec();
    }
    return watcher->isInited() ? 1 : 0;
}

QDBusMessage Announcement(bool begins)
{
    return QDBusMessage::createSignal("/org/freedesktop/login1", "org.freedesktop.login1.Manager",
                                      "PrepareForSleep")
           << begins;
}

} // namespace

class TestLogind : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void wholeLives();
    void announcements();
    void announcementsFromASlowBus();

private:
    const PrivateBus bus{"system"};
    QStringList events;
};

void TestLogind::wholeLives()
{
    const QString program = QCoreApplication::applicationFilePath();
    QVERIFY(bus.IsRunning());
    QCOMPARE(QProcess::execute(program, {"--with-application"}), 1);
    QCOMPARE(QProcess::execute(program, {"--without-application"}), 1);
}

void TestLogind::announcements()
{
    auto login = QDBusConnection::connectToBus("unix:path=" + bus.Path(), "login");
    QVERIFY(login.registerService("org.freedesktop.login1"));
    const QStringList others = login.interface()->registeredServiceNames();
    SleepWatcher* watcher = SleepWatcher::instance();
    QVERIFY(watcher->isInited());
    connect(watcher, &SleepWatcher::sleep, this, [&] { events += "sleep"; });
    connect(watcher, &SleepWatcher::wake, this, [&] { events += "wake"; });

    // No other sender is accepted, even if it addresses this process.
    QStringList receivers = login.interface()->registeredServiceNames();
    receivers.removeIf([&others](const QString& name) { return others.contains(name); });
    QCOMPARE(receivers.size(), 1);
    const QStringList announcement{"--system", "--dest=" + receivers[0], "/org/freedesktop/login1",
                                   "org.freedesktop.login1.Manager.PrepareForSleep", "boolean:false"};
    QCOMPARE(QProcess::execute("dbus-send", QStringList("--type=signal") + announcement), 0);
    for (const bool begins : {true, false, true, true}) {
        QVERIFY(login.send(Announcement(begins)));
    }
    QTRY_COMPARE(events, QStringList({"sleep", "wake", "sleep", "sleep"}));
    QVERIFY(watcher->isSleeping());
    QVERIFY(login.unregisterService("org.freedesktop.login1"));
}

void TestLogind::announcementsFromASlowBus()
{
    // Another program has become logind.
    auto heir = QDBusConnection::connectToBus("unix:path=" + bus.Path(), "heir");
    QVERIFY(heir.registerService("org.freedesktop.login1"));
    heir.send(Announcement(false));
    QTRY_COMPARE(events.size(), 5);

    // The bus is too slow to answer anything between two announcements.
    RecordingLogger log;
    const auto process = static_cast<pid_t>(bus.ProcessId());
    const auto goOn = qScopeGuard([process] { kill(process, SIGCONT); });
    log.onLine = [process](const QString& /*text*/) {
        QThread::msleep(200);
        kill(process, SIGSTOP);
    };
    heir.send(Announcement(true));
    heir.send(Announcement(false));
    QTRY_COMPARE(events.mid(4), QStringList({"wake", "sleep", "wake"}));
}

int main(int argc, char* argv[])
{
    if (argc > 1 && QByteArray(argv[1]).endsWith("-application")) {
        return RunAsChild(argc, argv);
    }
    QCoreApplication app(argc, argv);
    TestLogind test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_logind.moc"
