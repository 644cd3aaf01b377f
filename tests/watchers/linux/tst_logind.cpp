#include <common/tools/sleepwatcher.h>

#include <desktop/privatebus.h>

#include <QCoreApplication>
#include <QLocalServer>
#include <QTest>
#include <QThread>
#include <QTimer>

using tools::SleepWatcher;

namespace
{

/// Uses the watcher in a program of its own, from the first call to the exit. Whether it was inited.
int RunAsChild(int argc, char* argv[], bool withApplication)
{
    const auto app = withApplication ? std::make_unique<QCoreApplication>(argc, argv) : nullptr;
    const bool inited = SleepWatcher::instance()->isInited();
    if (app != nullptr) {
        QTimer::singleShot(0, app.get(), &QCoreApplication::quit);
        QCoreApplication::exec();
    }
    return inited ? 1 : 0;
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
}

void TestLogind::announcements()
{
    const PrivateBus bus("system");
    QVERIFY(bus.IsRunning());
    SleepWatcher* watcher = SleepWatcher::instance();
    QVERIFY(watcher->isInited());
    QStringList events;
    connect(watcher, &SleepWatcher::sleep, this, [&] { events += "sleep"; });
    connect(watcher, &SleepWatcher::wake, this, [&] { events += "wake"; });
    const QThread* const owner = QThread::currentThread();
    const auto onOwner = [owner] { QVERIFY(QThread::currentThread() != owner); };
    connect(watcher, &SleepWatcher::sleep, this, onOwner, Qt::DirectConnection);
    for (const char* begins : {"boolean:true", "boolean:false", "boolean:true", "boolean:true"}) {
        QCOMPARE(QProcess::execute("dbus-send", {"--system", "--type=signal", "/org/freedesktop/login1",
                                                 "org.freedesktop.login1.Manager.PrepareForSleep", begins}),
                 0);
    }
    QTRY_COMPARE(events, QStringList({"sleep", "wake", "sleep", "sleep"}));
    QVERIFY(watcher->isSleeping());
}

int main(int argc, char* argv[])
{
    if (argc > 1 && QByteArray(argv[1]).endsWith("-application")) {
        return RunAsChild(argc, argv, qstrcmp(argv[1], "--with-application") == 0);
    }
    QCoreApplication app(argc, argv);
    TestLogind test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_logind.moc"
