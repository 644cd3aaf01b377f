#include "procfile.h"

#include "../../platform/linux/readfile.h"

#include <QFile>
#include <QFileInfo>
#include <QList>

#include <array>
#include <climits>

#include <unistd.h>

namespace common::procfile
{

namespace
{

QString PathOf(pid_t process, const char* file)
{
    return QStringLiteral("/proc/%1/").arg(process) + QLatin1String(file);
}

QByteArray ReadAll(const QString& path)
{
    return platform::ReadFile(path).value_or(QByteArray());
}

/// Returns the value of the "KEY:\tVALUE" line for `key`; "0" if there is no such line.
QByteArray StatusValue(const QString& path, const char* key)
{
    const QByteArray status = ReadAll(path);
    const QByteArray lead = QByteArray("\n") + key + ":\t";
    const qsizetype begin = status.indexOf(lead) + lead.size();
    return begin < lead.size() ? QByteArray("0") : status.mid(begin, status.indexOf('\n', begin) - begin);
}

} // namespace

std::optional<Stat> ReadStat(pid_t process)
{
    // "PID (NAME) STATE PARENT ...": the name may contain spaces and parentheses.
    const QByteArray text = ReadAll(PathOf(process, "stat"));
    const qsizetype nameBegin = text.indexOf('(') + 1;
    const qsizetype nameEnd = text.lastIndexOf(')');
    constexpr int state = 0;
    constexpr int parent = 1;
    constexpr int threads = 17;
    constexpr int startTime = 19;
    const QList<QByteArray> fields = text.mid(nameEnd + 2).split(' ');
    if (nameBegin == 0 || nameEnd < nameBegin || fields.size() <= startTime) {
        return std::nullopt;
    }
    Stat stat;
    stat.kernelName = text.mid(nameBegin, nameEnd - nameBegin);
    stat.parent = fields.at(parent).toInt();
    // The first thread of a process may end before the others; it is then a zombie, but the process still
    // runs.
    const bool isZombie = fields.at(state) == "Z" || fields.at(state) == "X";
    stat.hasEnded = isZombie && fields.at(threads).toInt() <= 1;
    stat.startTime = fields.at(startTime).toULongLong();
    return stat;
}

QString ImagePath(pid_t process)
{
    std::array<char, PATH_MAX> target{};
    const ssize_t length =
        readlink(QFile::encodeName(PathOf(process, "exe")).constData(), target.data(), target.size());
    if (length <= 0) {
        return {};
    }
    QString path = QFile::decodeName(QByteArray(target.data(), length));
    // The kernel appends this if the file was removed, for example by an update of the program.
    const QLatin1String deleted(" (deleted)");
    if (path.endsWith(deleted) && !QFileInfo::exists(path)) {
        path.chop(deleted.size());
    }
    return path;
}

QString ExecutableName(pid_t process)
{
    const QString path = ImagePath(process);
    if (!path.isEmpty()) {
        return path.mid(path.lastIndexOf(u'/') + 1);
    }
    const std::optional<Stat> stat = ReadStat(process);
    return stat && !stat->hasEnded ? QFile::decodeName(stat->kernelName) : QString();
}

QString MappedFile(quintptr address)
{
    // "BEGIN-END RIGHTS OFFSET DEVICE INODE    PATH", with hexadecimal addresses.
    for (const QByteArray& line : ReadAll(QStringLiteral("/proc/self/maps")).split('\n')) {
        const qsizetype dash = line.indexOf('-');
        const qsizetype path = line.indexOf('/');
        if (path >= 0 && line.left(dash).toULongLong(nullptr, 16) <= address &&
            address < line.mid(dash + 1, line.indexOf(' ') - dash - 1).toULongLong(nullptr, 16)) {
            return QFile::decodeName(line.mid(path));
        }
    }
    return {};
}

bool IsProcess(pid_t id)
{
    return StatusValue(PathOf(id, "status"), "Tgid") == QByteArray::number(id);
}

bool IsTraced()
{
    return StatusValue(QStringLiteral("/proc/self/status"), "TracerPid") != "0";
}

} // namespace common::procfile
