#include "../../../src/libs/common/shell/linux/diskserialof.h"

#include <common/tools/audiodevicetools.h>
#include <common/tools/keyboard.h>

#include <desktop/xserver.h>
#include <files/filetree.h>
#include <logger/recordinglogger.h>
#include <table.h>

#include <QTcpServer>
#include <QTemporaryDir>

#include <sys/sysmacros.h>

using tools::AudioDeviceTools;
using tools::Keyboard;

class TestDevices : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void serial_data();
    void serial();
    void capsLock();
    void soundServer();
};

// Device 8:0 is a disk with partition 8:1; device 253:0 is mapped onto other devices.
void TestDevices::serial_data()
{
    const Table<dev_t, QStringList, QString> row("device", "files", "found");
    const dev_t part = makedev(8, 1);
    const dev_t mapped = makedev(253, 0);
    row("udev", part, {"run/udev/data/b8:0=E:ID_SERIAL=Maker_S1\nE:ID_SERIAL_SHORT=S1\n"}, "0 S1");
    row("NVMe, padded", part, {"disk/device/serial=  N3  \n"}, "0 N3");
    row("SCSI page", part, {"disk/device/vpd_pg80=" + QString::fromLatin1("\0\1\0\4S 4 \0x", 10)}, "0 S 4");
    const QString onPart = "mapped/slaves/part->../../disk/part";
    const QString onDisk = "mapped/slaves/disk->../../disk";
    row("mapped", mapped, {"disk/serial=V", onPart}, "0 V");
    row("mapped onto several", mapped, {"disk/serial=V", onPart, onDisk}, "76 "); // ENOTUNIQ
    row("mapped onto itself", mapped, {"mapped/slaves/mapped->../../mapped"}, "76 ");
    row("no such device", makedev(9, 9), {"disk/serial=V"}, "2 "); // ENOENT
}

void TestDevices::serial()
{
    QFETCH(QStringList, files);
    QFETCH(dev_t, device);

    const QTemporaryDir root;
    filetree::Build(root.path(),
                    {"disk/dev=8:0\n", "disk/part/partition=1\n", "mapped/slaves/",
                     "sys/dev/block/8:1->../../../disk/part", "sys/dev/block/253:0->../../../mapped"});
    filetree::Build(root.path(), files);
    const auto serial = common::shell::ReadDiskSerialOf(root.path(), device);
    QTEST(QString(QString::number(serial.error) + ' ' + serial.text), "found");
}

void TestDevices::capsLock()
{
    const XServer server;
    for (const bool on : {true, false}) {
        QVERIFY(XServer::Act({"keydown", "Caps_Lock"}));
        QVERIFY2(!Keyboard::IsCapsLock(), "held");
        QVERIFY(XServer::Act({"keyup", "Caps_Lock", "keydown", "shift"}));
        QCOMPARE(Keyboard::IsCapsLock(), on);
        QVERIFY(XServer::Act({"keyup", "shift"}));
    }
}

void TestDevices::soundServer()
{
    const QTemporaryDir dir;
    QProcess server;
    server.setEnvironment({"HOME=" + dir.path(), "XDG_RUNTIME_DIR=" + dir.path(), "PATH=" + qgetenv("PATH")});
    const QString speaker = "sink_name=speaker sink_properties=device.description=Küchen-Lautsprecher";
    server.start("pulseaudio",
                 {"-n", "--daemonize=no", "--use-pid-file=no", "--load=module-null-sink " + speaker,
                  "--load=module-native-protocol-unix auth-anonymous=1 socket=" + dir.filePath("native")});
    qputenv("PULSE_SERVER", "unix:" + dir.filePath("native").toUtf8());
    QTRY_COMPARE_WITH_TIMEOUT(AudioDeviceTools::getDefaultDeviceName(true), "Küchen-Lautsprecher", 20000);
    const RecordingLogger log;
    QCOMPARE(AudioDeviceTools::getDefaultDeviceName(false), QString()); // A monitor source is no microphone.
    // A server without devices loads a null sink named auto_null, which is not a device.
    QCOMPARE(QProcess::execute("pactl", {"unload-module", "module-null-sink"}), 0);
    QCOMPARE(QProcess::execute("pactl", {"load-module", "module-null-sink", "sink_name=auto_null"}), 0);
    QCOMPARE(AudioDeviceTools::getDefaultDeviceName(true), QString());
    server.terminate();
    QVERIFY(server.waitForFinished());

    QTcpServer silent; // Accepts the connection and never replies; the client library would wait for 30 s.
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    qputenv("PULSE_SERVER", "tcp:127.0.0.1:" + QByteArray::number(silent.serverPort()));
    QCOMPARE(AudioDeviceTools::getDefaultDeviceName(true), QString());
    const QString call = "3 tools::AudioDeviceTools::getDefaultDeviceName pa_context_";
    QCOMPARE(log.Lines("", 7),
             QStringList({call + "get_source_info_by_name() error 5",
                          call + "get_sink_info_by_name() error 5", call + "connect() error 8"}));
}

QTEST_GUILESS_MAIN(TestDevices)
#include "tst_devices.moc"
