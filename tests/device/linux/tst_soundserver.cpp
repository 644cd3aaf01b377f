#include <common/tools/audiodevicetools.h>

#include <logger/recordinglogger.h>

#include <QElapsedTimer>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

using tools::AudioDeviceTools;

class TestSoundServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaultDevices();
    void silentServer();
};

void TestSoundServer::defaultDevices()
{
    const QTemporaryDir dir;
    const QString address = "unix:" + dir.filePath("native");
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert("HOME", dir.path());
    environment.insert("XDG_RUNTIME_DIR", dir.path());
    QProcess server;
    server.setProcessEnvironment(environment);
    server.setProcessChannelMode(QProcess::MergedChannels);
    server.start("pulseaudio",
                 {"-n", "--daemonize=no", "--use-pid-file=no", "--exit-idle-time=-1", "--realtime=no",
                  "--high-priority=no",
                  QString::fromUtf8("--load=module-null-sink sink_name=speaker "
                                    "sink_properties=device.description=Küchen-Lautsprecher"),
                  "--load=module-null-sink sink_name=other",
                  "--load=module-native-protocol-unix auth-anonymous=1 socket=" + dir.filePath("native")});
    QVERIFY(server.waitForStarted());
    qputenv("PULSE_SERVER", address.toUtf8());

    QTRY_COMPARE_WITH_TIMEOUT(AudioDeviceTools::getDefaultDeviceName(true),
                              QString::fromUtf8("Küchen-Lautsprecher"), 20000);
    RecordingLogger log;
    QCOMPARE(AudioDeviceTools::getDefaultDeviceName(false),
             QString::fromUtf8("Monitor of Küchen-Lautsprecher"));
    QVERIFY(log.lines.empty());
    server.terminate();
    QVERIFY(server.waitForFinished());
    QCOMPARE(AudioDeviceTools::getDefaultDeviceName(true), QString());
    QCOMPARE(log.lines.size(), std::size_t{1});
}

void TestSoundServer::silentServer()
{
    QTcpServer server; // Takes the connection and says nothing.
    QVERIFY(server.listen(QHostAddress::LocalHost));
    qputenv("PULSE_SERVER", "tcp:127.0.0.1:" + QByteArray::number(server.serverPort()));
    const RecordingLogger log;
    QElapsedTimer clock;
    clock.start();
    QCOMPARE(AudioDeviceTools::getDefaultDeviceName(true), QString());
    QVERIFY2(clock.elapsed() < 10000, "well below the 30 s of the client library");
    QCOMPARE(log.lines.size(), std::size_t{1});
    QCOMPARE(log.lines.front().text,
             QString("tools::AudioDeviceTools::getDefaultDeviceName pa_context_connect() error 8"));
}

QTEST_GUILESS_MAIN(TestSoundServer)
#include "tst_soundserver.moc"
