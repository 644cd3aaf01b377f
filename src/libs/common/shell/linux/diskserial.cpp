#include "diskserialof.h"

#include "../../platform/linux/readfile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <optional>

#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace common::shell
{

namespace
{

/// Maximum number of layers above a disk, such as device-mapper volumes; more would mean a loop.
constexpr int maxLayers = 16;

QString NumberText(dev_t device)
{
    return QStringLiteral("%1:%2").arg(major(device)).arg(minor(device));
}

QByteArray ReadAll(const QString& path)
{
    return platform::ReadFile(path).value_or(QByteArray());
}

/// Returns the block device of a file system, such as btrfs, whose own device number is not that of a block
/// device.
dev_t MountSource(const QString& root, dev_t device)
{
    // proc(5): ID parent MAJOR:MINOR root point options [tags] - type SOURCE options
    const QByteArray number = NumberText(device).toLatin1();
    for (const QByteArray& line : ReadAll(root + QLatin1String("/proc/self/mountinfo")).split('\n')) {
        const QList<QByteArray> fields = line.split(' ');
        const qsizetype separator = fields.indexOf("-");
        if (fields.value(2) != number || separator < 0) {
            continue;
        }
        struct stat info
        {};
        const QByteArray source = fields.value(separator + 2);
        if (source.startsWith('/') && stat(source.constData(), &info) == 0 && S_ISBLK(info.st_mode)) {
            return info.st_rdev;
        }
    }
    return device;
}

/// Returns the directory of a block device below /sys; on failure returns an empty string and sets `errno`.
QString DeviceFolder(const QString& root, dev_t device)
{
    const QString link = root + QLatin1String("/sys/dev/block/") + NumberText(device);
    struct stat info
    {};
    return stat(QFile::encodeName(link).constData(), &info) == 0 ? QFileInfo(link).canonicalFilePath()
                                                                 : QString();
}

/// Returns the disk that holds a partition or mapped device; nothing if several disks do.
std::optional<QString> WholeDisk(QString folder)
{
    for (int layer = 0; layer < maxLayers; ++layer) {
        if (QFile::exists(folder + QLatin1String("/partition"))) {
            folder = QFileInfo(folder).path();
            continue;
        }
        const QStringList below =
            QDir(folder + QLatin1String("/slaves")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        if (below.isEmpty()) {
            return folder;
        }
        if (below.size() > 1) {
            return std::nullopt;
        }
        folder = QFileInfo(folder + QLatin1String("/slaves/") + below.first()).canonicalFilePath();
    }
    return std::nullopt;
}

/// Reads the udev database directly: libudev would add a dependency without shortening the code.
QString UdevSerial(const QString& root, const QString& disk)
{
    const QByteArray number = ReadAll(disk + QLatin1String("/dev")).trimmed();
    const QByteArray record = ReadAll(root + QLatin1String("/run/udev/data/b") + QString::fromLatin1(number));
    constexpr char key[] = "E:ID_SERIAL_SHORT=";
    for (const QByteArray& line : record.split('\n')) {
        if (line.startsWith(key)) {
            return QString::fromLocal8Bit(line.mid(sizeof(key) - 1)).trimmed();
        }
    }
    return {};
}

QString KernelSerial(const QString& disk)
{
    // The first file is for virtio disks, the second one for NVMe and MMC.
    for (const char* name : {"/serial", "/device/serial"}) {
        QString serial = QString::fromLocal8Bit(ReadAll(disk + QLatin1String(name))).trimmed();
        if (!serial.isEmpty()) {
            return serial;
        }
    }
    // SCSI and SATA: the Unit Serial Number VPD page (SPC-3, 7.6.10). The number follows a 4-byte header.
    constexpr qsizetype headerSize = 4;
    QByteArray page = ReadAll(disk + QLatin1String("/device/vpd_pg80")).mid(headerSize);
    const qsizetype end = page.indexOf('\0');
    page.truncate(end < 0 ? page.size() : end);
    return QString::fromLocal8Bit(page).trimmed();
}

} // namespace

DiskSerial ReadDiskSerialOf(const QString& root, dev_t device)
{
    QString folder = DeviceFolder(root, device);
    if (folder.isEmpty()) {
        folder = DeviceFolder(root, MountSource(root, device));
    }
    if (folder.isEmpty()) {
        return {static_cast<unsigned long>(errno), QString()};
    }
    const std::optional<QString> disk = WholeDisk(folder);
    if (!disk.has_value()) {
        return {ENOTUNIQ, QString()}; // The file system spans several disks.
    }
    const QString serial = UdevSerial(root, *disk);
    return {0, serial.isEmpty() ? KernelSerial(*disk) : serial};
}

DiskSerial ReadDiskSerial()
{
    struct stat info
    {};
    if (stat(".", &info) != 0) {
        return {static_cast<unsigned long>(errno), QString()};
    }
    return ReadDiskSerialOf(QString(), info.st_dev);
}

} // namespace common::shell
