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

/// Returns the signal of logind, for one receiver or for all.
QDBusMessage Announcement(bool begins, const QString& receiver = {})
{
    return QDBusMessage::createTargetedSignal(receiver, "/org/freedesktop/login1",
                                              "org.freedesktop.login1.Manager", "PrepareForSleep")
           << begins;
}

} // namespace

class TestLogind : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void withoutApplication();
    void announcements();
    void announcementsFromASlowBus();
    void cleanupTestCase();

private:
    const PrivateBus bus{"system"};
    QStringList events;
};

void TestLogind::withoutApplication()
{
    QCOMPARE(QProcess::execute(QCoreApplication::applicationFilePath(), {"--without-application"}), 1);
}

void TestLogind::announcements()
{
    auto login = QDBusConnection::connectToBus("unix:path=" + bus.Path(), "login");
    QVERIFY(login.registerService("org.freedesktop.login1"));
    const auto stranger = QDBusConnection::connectToBus("unix:path=" + bus.Path(), "stranger");
    SleepWatcher* watcher = SleepWatcher::instance();
    QVERIFY(watcher->isInited());
    connect(watcher, &SleepWatcher::sleep, this, [&] { events += "sleep"; });
    connect(watcher, &SleepWatcher::wake, this, [&] { events += "wake"; });

    // The watcher ignores other senders, even if they address this process.
    const QStringList receivers = stranger.interface()->registeredServiceNames();
    for (const QString& receiver : receivers) {
        QVERIFY(stranger.send(Announcement(false, receiver)));
    }
    QVERIFY2(stranger.interface()->isServiceRegistered("org.freedesktop.login1"), "the bus has read them");
    for (const bool begins : {true, false, true, true}) {
        QVERIFY(login.send(Announcement(begins)));
    }
    QTRY_COMPARE(events, QStringList({"sleep", "wake", "sleep", "sleep"}));
    QVERIFY(watcher->isSleeping());
    QVERIFY(login.unregisterService("org.freedesktop.login1"));
}

void TestLogind::announcementsFromASlowBus()
{
    // Another process takes the name, as after a restart of logind.
    auto heir = QDBusConnection::connectToBus("unix:path=" + bus.Path(), "heir");
    QVERIFY(heir.registerService("org.freedesktop.login1"));
    heir.send(Announcement(false));
    QTRY_COMPARE(events.size(), 5);

    // Stop the bus, so that it cannot reply between the two announcements.
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

// The watcher stops both when the application ends and when the process exits.
void TestLogind::cleanupTestCase()
{
    QTimer::singleShot(0, QCoreApplication::instance(), &QCoreApplication::quit);
    QCOMPARE(QCoreApplication::exec(), 0);
}

int main(int argc, char* argv[])
{
    if (argc > 1 && qstrcmp(argv[1], "--without-application") == 0) {
        return SleepWatcher::instance()->isInited() ? 1 : 0;
    }
    QCoreApplication app(argc, argv);
    TestLogind test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_logind.moc"
