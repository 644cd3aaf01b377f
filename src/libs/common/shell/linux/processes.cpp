#include "../processes.h"

#include "../../platform/linux/filedescriptor.h"

#include <common/logger/logger.h>

#include "procfile.h"
#include "spawn.h"

#include <QDeadlineTimer>
#include <QDirIterator>
#include <QFile>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <limits>

#include <link.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace common::processes
{

namespace
{

constexpr logger::Channel logChannel{"common.shell"};

/// Polling interval if the kernel cannot report the end of a process.
constexpr std::chrono::milliseconds pollInterval{20};

/// A process identified by a pidfd or, before Linux 5.3 or in some sandboxes, by its id and start time.
class LinuxProcess final : public Process
{
public:
    explicit LinuxProcess(pid_t id_)
        : id(id_)
        , descriptor(static_cast<int>(syscall(SYS_pidfd_open, id_, 0)))
    {
        if (descriptor.IsOpen()) {
            return;
        }
        const int error = errno;
        // The id may be that of a secondary thread, which does not count as a process.
        if (const auto stat = procfile::ReadStat(id); stat && procfile::IsProcess(id)) {
            LogMissingPidfd(error);
            startTime = stat->startTime;
        }
    }

    QString ImagePath() const override
    {
        const QString path = procfile::ImagePath(id);
        // While the process runs, its id cannot be reused.
        return HasEnded() ? QString() : path;
    }
    bool End() override { return SendSignal(SIGKILL); }

    bool HasEnded() const
    {
        if (descriptor.IsOpen()) {
            pollfd ended{descriptor.Get(), POLLIN, 0};
            return poll(&ended, 1, 0) > 0; // A signal can interrupt even this call.
        }
        const auto stat = procfile::ReadStat(id);
        return !stat || stat->hasEnded || stat->startTime != startTime;
    }

    WaitResult WaitForEnd(const QDeadlineTimer& deadline) const
    {
        const qint64 longest = descriptor.IsOpen() ? std::numeric_limits<int>::max() : pollInterval.count();
        while (!HasEnded()) {
            if (deadline.hasExpired()) {
                return WaitResult::TimedOut;
            }
            const qint64 left = deadline.isForever() ? longest : std::min(deadline.remainingTime(), longest);
            pollfd ended{descriptor.Get(), POLLIN, 0}; // Without a descriptor, poll only sleeps.
            if (poll(&ended, 1, static_cast<int>(left)) < 0 && errno != EINTR) {
                return WaitResult::Failed;
            }
        }
        return WaitResult::AllEnded;
    }

    bool SendSignal(int number) const
    {
        if (descriptor.IsOpen()) {
            return syscall(SYS_pidfd_send_signal, descriptor.Get(), number, nullptr, 0) == 0;
        }
        return !HasEnded() && kill(id, number) == 0;
    }

private:
    Q_DISABLE_COPY(LinuxProcess)

    static void LogMissingPidfd(int error)
    {
        static std::atomic_flag isLogged = ATOMIC_FLAG_INIT;
        if (!isLogged.test_and_set()) {
            LOG_MESSAGE(logger::Warn) << "No pidfd is available (error " << error
                                      << "): processes are watched by polling and ended by their id";
        }
    }

    pid_t id;
    platform::FileDescriptor descriptor;
    quint64 startTime = 0;
};

/// Returns null if `id` names no running process. With `forEnding`, also returns null if this user may not
/// terminate the process.
std::unique_ptr<LinuxProcess> OpenId(unsigned long id, bool forEnding)
{
    // To kill(2), 0 and negative numbers mean groups. Never terminate init.
    const unsigned long firstId = forEnding ? 2 : 1;
    if (id < firstId || id > static_cast<unsigned long>(std::numeric_limits<pid_t>::max())) {
        return nullptr;
    }
    auto process = std::make_unique<LinuxProcess>(static_cast<pid_t>(id));
    if (process->HasEnded() || (forEnding && !process->SendSignal(0))) {
        return nullptr;
    }
    return process;
}

int AddModule(dl_phdr_info* info, std::size_t /*size*/, void* paths)
{
    QString path = QFile::decodeName(info->dlpi_name);
    // The path may be relative to the working directory at load time.
    if (path.contains(u'/') && QDir::isRelativePath(path)) {
        const auto* const end = info->dlpi_phdr + info->dlpi_phnum;
        const auto* const loaded = std::find_if(
            info->dlpi_phdr, end, [](const ElfW(Phdr) & header) { return header.p_type == PT_LOAD; });
        path = loaded != end ? procfile::MappedFile(info->dlpi_addr + loaded->p_vaddr) : QString();
    }
    static_cast<QStringList*>(paths)->append(path);
    return 0;
}

} // namespace

unsigned long ParentOf(const Entry& entry)
{
    const auto stat = procfile::ReadStat(static_cast<pid_t>(entry.id));
    return stat ? static_cast<unsigned long>(stat->parent) : 0UL;
}

void ForEach(const std::function<bool(const Entry&)>& visit)
{
    QDirIterator entries(QStringLiteral("/proc"), QDir::Dirs);
    bool more = true;
    while (more && entries.hasNext()) {
        entries.next();
        bool isId = false;
        const pid_t id = entries.fileName().toInt(&isId);
        const QString name = isId ? procfile::ExecutableName(id) : QString();
        if (!name.isEmpty()) {
            more = visit({static_cast<unsigned long>(id), name, 0});
        }
    }
}

std::unique_ptr<Process> Open(const Entry& entry, unsigned int rights)
{
    auto process = OpenId(entry.id, (rights & Terminate) != 0);
    // Between listing and opening, the id may have been reused by another process.
    if (process != nullptr &&
        (procfile::ExecutableName(static_cast<pid_t>(entry.id)) != entry.executableName ||
         process->HasEnded())) {
        return nullptr;
    }
    return process;
}

WaitResult WaitForAll(const ProcessList& processes, quint32 timeout)
{
    const QDeadlineTimer deadline =
        timeout == infinite ? QDeadlineTimer(QDeadlineTimer::Forever) : QDeadlineTimer(qint64{timeout});
    for (const auto& process : processes) {
        const WaitResult result = static_cast<const LinuxProcess&>(*process).WaitForEnd(deadline);
        if (result != WaitResult::AllEnded) {
            return result;
        }
    }
    return WaitResult::AllEnded;
}

void EndById(unsigned long id)
{
    if (const auto process = OpenId(id, true)) {
        process->End();
    }
}

QStringList OwnModules()
{
    QStringList paths;
    dl_iterate_phdr(AddModule, &paths);
    if (!paths.isEmpty() && paths.first().isEmpty()) {
        paths.first() = procfile::ImagePath(getpid());
    }
    // Skip the vDSO, which is not a file.
    paths.erase(
        std::remove_if(paths.begin(), paths.end(), [](const QString& path) { return !path.contains(u'/'); }),
        paths.end());
    return paths;
}

bool StartDetached(const QString& program, const QStringList& arguments, const QString& workingDirectory)
{
    return SpawnDetached(program, arguments, workingDirectory) == 0;
}

DebuggerOutput::DebuggerOutput()
    : attached(procfile::IsTraced())
{}

void DebuggerOutput::Write(const QString& text) const
{
    if (attached) {
        static_cast<void>(std::fputs(text.toLocal8Bit().constData(), stderr));
    }
}

} // namespace common::processes
