#include "../../../src/libs/common/shell/linux/diskserialof.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>

#include <sys/sysmacros.h>

class TestDiskSerial : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void serial_data();
    void serial();
};

// The device 8:0 is a disk with the partition 8:1; 253:0 is mapped onto others.
void TestDiskSerial::serial_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("mappedOnto");
    QTest::addColumn<dev_t>("device");
    QTest::addColumn<int>("error");
    QTest::addColumn<QString>("text");

    const auto row = [](const char* name, const QString& path, const QByteArray& content, const QString& text,
                        const QStringList& mappedOnto = {}, dev_t device = makedev(8, 1), int error = 0) {
        QTest::newRow(name) << path << content << mappedOnto << device << error << text;
    };
    row("udev", "/run/udev/data/b8:0", "E:ID_SERIAL=Maker_S1\nE:ID_SERIAL_SHORT=S1\n", "S1");
    row("virtio", "/disk/serial", "V-2", "V-2");
    row("NVMe, padded", "/disk/device/serial", "  N3  \n", "N3");
    row("SCSI page", "/disk/device/vpd_pg80", QByteArray("\0\x80\0\x04S 4 \0x", 10), "S 4");
    row("SCSI page that is cut", "/disk/device/vpd_pg80", QByteArray("\0\x80", 2), "");
    row("mapped", "/disk/serial", "DISK", "DISK", {"disk/part"}, makedev(253, 0));
    row("mapped onto several", "/disk/serial", "DISK", "", {"disk", "disk/part"}, makedev(253, 0), ENOTUNIQ);
    row("mapped onto itself", "/disk/serial", "DISK", "", {"mapped"}, makedev(253, 0), ENOTUNIQ);
    row("no such device", "/disk/serial", "DISK", "", {}, makedev(9, 9), ENOENT);
}

void TestDiskSerial::serial()
{
    QFETCH(QString, path);
    QFETCH(QByteArray, content);
    QFETCH(QStringList, mappedOnto);
    QFETCH(dev_t, device);
    QFETCH(int, error);
    QFETCH(QString, text);

    const QTemporaryDir root;
    const QDir dir(root.path());
    const auto write = [&dir](const QString& name, const QByteArray& bytes) {
        QFile file(dir.path() + name);
        QVERIFY(dir.mkpath(QFileInfo(file).path()) && file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(bytes), bytes.size());
    };
    write("/disk/dev", "8:0\n");
    write("/disk/part/partition", "1\n");
    write(path, content);
    QVERIFY(dir.mkpath("sys/dev/block") && dir.mkpath("mapped/slaves"));
    QVERIFY(QFile::link(dir.filePath("disk/part"), dir.filePath("sys/dev/block/8:1")));
    QVERIFY(QFile::link(dir.filePath("mapped"), dir.filePath("sys/dev/block/253:0")));
    for (const QString& target : mappedOnto) {
        QVERIFY(QFile::link(dir.filePath(target), dir.filePath("mapped/slaves/" + target.section('/', -1))));
    }
    const auto found = common::shell::ReadDiskSerialOf(dir.path(), device);
    QCOMPARE(found.error, static_cast<unsigned long>(error));
    QCOMPARE(found.text, text);
}

QTEST_GUILESS_MAIN(TestDiskSerial)
#include "tst_diskserial.moc"
