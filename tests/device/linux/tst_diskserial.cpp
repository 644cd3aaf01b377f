#include "../../../src/libs/common/shell/linux/diskserialof.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>

#include <sys/sysmacros.h>

using common::shell::DiskSerial;

namespace
{

const QString disk = QStringLiteral("/sys/devices/block/disk");
const QString mapped = QStringLiteral("/sys/devices/virtual/mapped");

} // namespace

class TestDiskSerial : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void sources_data();
    void sources();
    void layers_data();
    void layers();

private:
    void Write(const QString& path, const QByteArray& content);
    void Link(const QString& target, const QString& path);

    std::unique_ptr<QTemporaryDir> root;
};

void TestDiskSerial::init()
{
    root = std::make_unique<QTemporaryDir>();
    Write(disk + "/dev", "8:0\n");
    Write(disk + "/part1/partition", "1\n");
    Link(disk, "/sys/dev/block/8:0");
    Link(disk + "/part1", "/sys/dev/block/8:1");
}

void TestDiskSerial::Write(const QString& path, const QByteArray& content)
{
    QVERIFY(QDir().mkpath(QFileInfo(root->path() + path).path()));
    QFile file(root->path() + path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

void TestDiskSerial::Link(const QString& target, const QString& path)
{
    QVERIFY(QDir().mkpath(QFileInfo(root->path() + path).path()));
    QVERIFY(QFile::link(root->path() + target, root->path() + path));
}

void TestDiskSerial::sources_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("serial");

    QTest::newRow("udev") << "/run/udev/data/b8:0"
                          << QByteArray("S:disk\nE:ID_SERIAL=Maker_S1\nE:ID_SERIAL_SHORT=S1\n") << "S1";
    QTest::newRow("virtio") << disk + "/serial" << QByteArray("V-2") << "V-2";
    QTest::newRow("NVMe, padded") << disk + "/device/serial" << QByteArray("  N3  \n") << "N3";
    QTest::newRow("SCSI page") << disk + "/device/vpd_pg80" << QByteArray("\0\x80\0\x04S 4 \0x", 10) << "S 4";
    QTest::newRow("SCSI page that is cut") << disk + "/device/vpd_pg80" << QByteArray("\0\x80", 2) << "";
    QTest::newRow("none") << disk + "/size" << QByteArray("1") << "";
}

void TestDiskSerial::sources()
{
    QFETCH(QString, path);
    QFETCH(QByteArray, content);
    QFETCH(QString, serial);

    Write(path, content);
    const DiskSerial found = common::shell::ReadDiskSerialOf(root->path(), makedev(8, 1));
    QCOMPARE(found.error, 0UL);
    QCOMPARE(found.text, serial);
}

void TestDiskSerial::layers_data()
{
    QTest::addColumn<QStringList>("below");
    QTest::addColumn<unsigned int>("minorNumber");
    QTest::addColumn<int>("error");
    QTest::addColumn<QString>("serial");

    QTest::newRow("mapped onto a partition") << QStringList{disk + "/part1"} << 0U << 0 << "DISK";
    QTest::newRow("mapped onto several") << QStringList{disk, disk + "/part1"} << 0U << ENOTUNIQ << "";
    QTest::newRow("mapped onto itself") << QStringList{mapped} << 0U << ENOTUNIQ << "";
    QTest::newRow("no such device") << QStringList() << 9U << ENOENT << "";
}

void TestDiskSerial::layers()
{
    QFETCH(QStringList, below);
    QFETCH(unsigned int, minorNumber);
    QFETCH(int, error);
    QFETCH(QString, serial);

    Write(disk + "/serial", "DISK");
    Write(mapped + "/dev", "253:0\n");
    Link(mapped, "/sys/dev/block/253:0");
    for (const QString& target : below) {
        Link(target, mapped + "/slaves/" + QFileInfo(target).fileName());
    }
    const DiskSerial found = common::shell::ReadDiskSerialOf(root->path(), makedev(253, minorNumber));
    QCOMPARE(found.error, static_cast<unsigned long>(error));
    QCOMPARE(found.text, serial);
}

QTEST_GUILESS_MAIN(TestDiskSerial)
#include "tst_diskserial.moc"
