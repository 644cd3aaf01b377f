#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

#include <sys/types.h>

namespace common::procfile
{

/// The content of /proc/PID/stat; see proc(5).
struct Stat
{
    QByteArray kernelName; ///< At most 15 bytes.
    pid_t parent = 0;
    bool hasEnded = false; ///< Whether the process has ended, but is not yet reaped.
    quint64 startTime = 0; ///< Clock ticks since boot; distinguishes processes with the same id.
};

/// Returns nothing if the process does not exist.
std::optional<Stat> ReadStat(pid_t process);

/// Returns the path of the image; empty for kernel threads, ended processes and those that this user may not
/// inspect.
QString ImagePath(pid_t process);

/// Returns the base name of the image or, if the image is unknown, the kernel's name for the process. Returns
/// an empty string if the process has ended.
QString ExecutableName(pid_t process);

/// Returns the path of the file that is mapped into this process at an address; empty if none is.
QString MappedFile(quintptr address);

/// Returns whether an id is that of a process rather than of a secondary thread.
bool IsProcess(pid_t id);

/// Returns whether this process is traced, for example by a debugger.
bool IsTraced();

} // namespace common::procfile
