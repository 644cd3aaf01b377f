#include "../../../src/libs/common/shell/linux/diskserialof.h"

#include <common/tools/audiodevicetools.h>
#include <common/tools/keyboard.h>

#include <desktop/xserver.h>
#include <logger/recordinglogger.h>

#include <QDir>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <sys/resource.h>
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

// The device 8:0 is a disk with the partition 8:1; 253:0 is mapped onto others.
void TestDevices::serial_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<dev_t>("device");
    QTest::addColumn<QStringList>("mappedOnto");
    QTest::addColumn<QString>("found");

    const auto row = [](const char* name, const char* file, const QByteArray& content, const char* found,
                        dev_t device = makedev(8, 1), const QStringList& mappedOnto = {}) {
        QTest::newRow(name) << QString(file) << content << device << mappedOnto << QString(found);
    };
    row("udev", "run/udev/data/b8:0", "E:ID_SERIAL=Maker_S1\nE:ID_SERIAL_SHORT=S1\n", "0 S1");
    row("NVMe, padded", "disk/device/serial", "  N3  \n", "0 N3");
    row("SCSI page", "disk/device/vpd_pg80", QByteArray("\0\x80\0\x04S 4 \0x", 10), "0 S 4");
    row("SCSI page that is cut", "disk/device/vpd_pg80", QByteArray("\0\x80", 2), "0 ");
    row("mapped", "disk/serial", "V", "0 V", makedev(253, 0), {"disk/part"});
    row("mapped onto several", "disk/serial", "V", "76 ", makedev(253, 0), {"disk", "disk/part"}); // ENOTUNIQ
    row("mapped onto itself", "disk/serial", "V", "76 ", makedev(253, 0), {"mapped"});
    row("no such device", "disk/serial", "V", "2 ", makedev(9, 9)); // ENOENT
}

void TestDevices::serial()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, content);
    QFETCH(dev_t, device);
    QFETCH(QStringList, mappedOnto);
    QFETCH(QString, found);

    const QTemporaryDir root;
    const QDir dir(root.path());
    for (const auto& [name, bytes] : {std::pair<QString, QByteArray>{"disk/dev", "8:0\n"},
                                      {"disk/part/partition", "1\n"},
                                      {file, content}}) {
        QFile output(dir.filePath(name));
        QVERIFY(dir.mkpath(QFileInfo(output).path()) && output.open(QIODevice::WriteOnly));
        QCOMPARE(output.write(bytes), bytes.size());
    }
    QVERIFY(dir.mkpath("sys/dev/block") && dir.mkpath("mapped/slaves"));
    QVERIFY(QFile::link(dir.filePath("disk/part"), dir.filePath("sys/dev/block/8:1")));
    QVERIFY(QFile::link(dir.filePath("mapped"), dir.filePath("sys/dev/block/253:0")));
    for (const QString& target : mappedOnto) {
        QVERIFY(QFile::link(dir.filePath(target), dir.filePath("mapped/slaves/" + target.section('/', -1))));
    }
    const auto serial = common::shell::ReadDiskSerialOf(dir.path(), device);
    QCOMPARE(QString::number(serial.error) + ' ' + serial.text, found);
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
    const QString speaker = "sink_name=speaker sink_properties=device.description=Küchen-Lautsprecher";
    server.start("pulseaudio",
                 {"-n", "--daemonize=no", "--use-pid-file=no", "--exit-idle-time=-1",
                  "--load=module-null-sink " + speaker, "--load=module-null-sink sink_name=other",
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

    rlimit limit{}; // No descriptor is left for a conversation.
    QVERIFY(getrlimit(RLIMIT_NOFILE, &limit) == 0);
    const rlimit none{0, limit.rlim_max};
    QVERIFY(setrlimit(RLIMIT_NOFILE, &none) == 0);
    const QString name = AudioDeviceTools::getDefaultDeviceName(true);
    QVERIFY(setrlimit(RLIMIT_NOFILE, &limit) == 0);
    QCOMPARE(name, QString());
    QVERIFY(log.lines.back().text.endsWith("pa_context_connect() error 10"));
}

QTEST_GUILESS_MAIN(TestDevices)
#include "tst_devices.moc"
