#include <common/tools/sleepwatcher.h>

#include <desktop/privatebus.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <cstdio>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using tools::SleepWatcher;

namespace
{

/// Uses the watcher in a program of its own, from the first call to the exit.
int RunAsChild(const QByteArray& job)
{
    if (job == "no application") {
        std::printf("%d", SleepWatcher::instance()->isInited() ? 1 : 0);
        return 0;
    }
    int argc = 1;
    char name[] = "tst_logind";
    char* argv[] = {name, nullptr};
    QCoreApplication app(argc, argv);
    std::printf("%d", SleepWatcher::instance()->isInited() ? 1 : 0);
    QTimer::singleShot(0, &app, &QCoreApplication::quit);
    return QCoreApplication::exec();
}

void Announce(bool sleep)
{
    const QString value = QStringLiteral("boolean:%1").arg(sleep ? "true" : "false");
    QCOMPARE(QProcess::execute("dbus-send", {"--system", "--type=signal", "/org/freedesktop/login1",
                                             "org.freedesktop.login1.Manager.PrepareForSleep", value}),
             0);
}

} // namespace

class TestLogind : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void children_data();
    void children();
    void announcements();
};

void TestLogind::children_data()
{
    QTest::addColumn<QByteArray>("job");
    QTest::addColumn<QString>("bus");
    QTest::addColumn<QByteArray>("inited");

    QTest::newRow("to the end of the application") << QByteArray("application") << "real" << QByteArray("1");
    QTest::newRow("without an application") << QByteArray("no application") << "real" << QByteArray("0");
    QTest::newRow("without a bus") << QByteArray("application") << "none" << QByteArray("0");
    QTest::newRow("a bus that keeps silent") << QByteArray("application") << "silent" << QByteArray("0");
}

void TestLogind::children()
{
    QFETCH(QByteArray, job);
    QFETCH(QString, bus);
    QFETCH(QByteArray, inited);

    const PrivateBus real("system");
    QVERIFY(real.IsRunning());
    const QTemporaryDir dir;
    const int silent = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, QFile::encodeName(dir.filePath("silent")).constData(),
             sizeof(address.sun_path));
    QCOMPARE(bind(silent, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    QCOMPARE(listen(silent, 1), 0);

    auto environment = QProcessEnvironment::systemEnvironment();
    if (bus != "real") {
        environment.insert("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + dir.filePath(bus));
    }
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationFilePath(), {"--child", job});
    QVERIFY(process.waitForFinished(15000));
    close(silent);
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(process.readAllStandardOutput(), inited);
}

void TestLogind::announcements()
{
    const PrivateBus bus("system");
    QVERIFY(bus.IsRunning());
    SleepWatcher* watcher = SleepWatcher::instance();
    QVERIFY(watcher->isInited());
    QStringList events;
    std::atomic<bool> onThisThread{false};
    QObject context;
    connect(watcher, &SleepWatcher::sleep, &context, [&] { events += "sleep"; });
    connect(watcher, &SleepWatcher::wake, &context, [&] { events += "wake"; });
    const QThread* const owner = QThread::currentThread();
    connect(
        watcher, &SleepWatcher::sleep, &context,
        [&] { onThisThread = onThisThread || QThread::currentThread() == owner; }, Qt::DirectConnection);

    for (const bool sleep : {true, false, true, true}) {
        Announce(sleep);
    }
    QTRY_COMPARE(events, QStringList({"sleep", "wake", "sleep", "sleep"}));
    QVERIFY(watcher->isSleeping());
    QVERIFY(!onThisThread);
    Announce(false);
    QTRY_VERIFY(!watcher->isSleeping());
}

int main(int argc, char* argv[])
{
    if (argc > 2 && qstrcmp(argv[1], "--child") == 0) {
        return RunAsChild(argv[2]);
    }
    QCoreApplication app(argc, argv);
    TestLogind test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_logind.moc"
