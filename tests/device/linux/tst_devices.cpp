#include "../../../src/libs/common/shell/diskserial.h"

#include <common/shell/devinfo.h>
#include <common/tools/audiodevicetools.h>
#include <common/tools/keyboard.h>

#include <desktop/xserver.h>
#include <logger/recordinglogger.h>

#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>

using tools::AudioDeviceTools;
using tools::Keyboard;

/// The disk of this test.
common::shell::DiskSerial common::shell::ReadDiskSerial()
{
    return {};
}

class TestDevices : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noSerial();
    void capsLock();
    void soundServer();
};

void TestDevices::noSerial()
{
    const RecordingLogger log;
    const QString identity = common::shell::DeviceInfo::GetSerialNumber();
    QCOMPARE(log.lines.at(0).text,
             "GetPlatformSerialNumber failed. Error: (0), Use Uuid: " + QUuid(identity).toString());
}

void TestDevices::capsLock()
{
    const XServer server;
    QVERIFY(server.IsRunning());
    QVERIFY(!Keyboard::IsCapsLock());
    for (const bool on : {true, false}) {
        QVERIFY(XServer::Act({"keydown", "Caps_Lock"}));
        QVERIFY2(!Keyboard::IsCapsLock(), "held");
        QVERIFY(XServer::Act({"keyup", "Caps_Lock"}) && XServer::Act({"keydown", "shift"}));
        QCOMPARE(Keyboard::IsCapsLock(), on);
        QVERIFY(XServer::Act({"keyup", "shift"}));
    }
}

void TestDevices::soundServer()
{
    const QTemporaryDir dir;
    QProcess server;
    server.setEnvironment({"HOME=" + dir.path(), "XDG_RUNTIME_DIR=" + dir.path(), "PATH=" + qgetenv("PATH")});
    server.setProcessChannelMode(QProcess::MergedChannels);
    server.start("pulseaudio",
                 {"-n", "--daemonize=no", "--use-pid-file=no", "--exit-idle-time=-1",
                  "--load=module-null-sink sink_name=speaker "
                  "sink_properties=device.description=Küchen-Lautsprecher",
                  "--load=module-null-sink sink_name=other",
                  "--load=module-native-protocol-unix auth-anonymous=1 socket=" + dir.filePath("native")});
    qputenv("PULSE_SERVER", "unix:" + dir.filePath("native").toUtf8());
    QTRY_COMPARE_WITH_TIMEOUT(AudioDeviceTools::getDefaultDeviceName(true), "Küchen-Lautsprecher", 20000);
    const RecordingLogger log;
    QCOMPARE(AudioDeviceTools::getDefaultDeviceName(false), "Monitor of Küchen-Lautsprecher");
    QVERIFY(log.lines.empty());
    server.terminate();
    QVERIFY(server.waitForFinished());

    QTcpServer silent; // Takes the connection and says nothing; the client library would wait for 30 s.
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    qputenv("PULSE_SERVER", "tcp:127.0.0.1:" + QByteArray::number(silent.serverPort()));
    QCOMPARE(AudioDeviceTools::getDefaultDeviceName(true), QString());
    QCOMPARE(log.lines.at(0).text,
             "tools::AudioDeviceTools::getDefaultDeviceName pa_context_connect() error 8");
}

QTEST_GUILESS_MAIN(TestDevices)
#include "tst_devices.moc"
