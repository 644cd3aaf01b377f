#include "../processes.h"

#include "../../platform/linux/filedescriptor.h"

#include <common/logger/logger.h>

#include "procfile.h"
#include "spawn.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <limits>

#include <dirent.h>
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

/// Returns whether the id names one process other than init: to kill(2), 0 and negative numbers mean groups.
bool IsOrdinaryId(unsigned long id)
{
    return id > 1 && id <= static_cast<unsigned long>(std::numeric_limits<pid_t>::max());
}

/// A process identified by a pidfd or, before Linux 5.3 or in some sandboxes, by its id and start time.
class LinuxProcess final : public Process
{
public:
    explicit LinuxProcess(pid_t id_)
        : id(id_)
        , descriptor(static_cast<int>(syscall(SYS_pidfd_open, id_, 0)))
    {
        if (!descriptor.IsOpen() && errno != ESRCH && errno != EINVAL) {
            LogMissingPidfd(errno);
            // The id may be that of a secondary thread, which does not count as a process.
            if (const auto stat = procfile::ReadStat(id); stat && procfile::IsProcess(id)) {
                startTime = stat->startTime;
            }
        }
    }

    int Descriptor() const { return descriptor.Get(); }
    QString ImagePath() const override
    {
        const QString path = procfile::ImagePath(id);
        // While the process runs, its id cannot be reused.
        return HasEnded() ? QString() : path;
    }
    bool End(unsigned int /*exitCode*/) override { return SendSignal(SIGKILL); }

    bool HasEnded() const
    {
        if (descriptor.IsOpen()) {
            pollfd ended{descriptor.Get(), POLLIN, 0};
            return poll(&ended, 1, 0) != 0;
        }
        const auto stat = procfile::ReadStat(id);
        return !stat || stat->hasEnded || stat->startTime != startTime;
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
    if (id == 0 || id > static_cast<unsigned long>(std::numeric_limits<pid_t>::max())) {
        return nullptr;
    }
    auto process = std::make_unique<LinuxProcess>(static_cast<pid_t>(id));
    if (process->HasEnded() || (forEnding && (!IsOrdinaryId(id) || !process->SendSignal(0)))) {
        return nullptr;
    }
    return process;
}

timespec ToTimespec(std::chrono::nanoseconds time)
{
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    return {static_cast<time_t>(seconds.count()), static_cast<long>((time - seconds).count())};
}

/// Waits until a process in `waiting` ends or the deadline expires, then removes the ended processes. Returns
/// false on failure.
bool WaitForSome(std::vector<pollfd>& waiting, const QDeadlineTimer& deadline)
{
    const timespec left =
        ToTimespec(std::chrono::nanoseconds(std::max<qint64>(0, deadline.remainingTimeNSecs())));
    const int count = ppoll(waiting.data(), waiting.size(), deadline.isForever() ? nullptr : &left, nullptr);
    if (count < 0) {
        return errno == EINTR;
    }
    const auto hasEnded = [](const pollfd& process) { return process.revents != 0; };
    waiting.erase(std::remove_if(waiting.begin(), waiting.end(), hasEnded), waiting.end());
    return true;
}

WaitResult PollForAll(const ProcessList& processes, const QDeadlineTimer& deadline)
{
    const auto hasEnded = [](const std::unique_ptr<Process>& process) {
        return static_cast<const LinuxProcess&>(*process).HasEnded();
    };
    while (!std::all_of(processes.begin(), processes.end(), hasEnded)) {
        if (deadline.hasExpired()) {
            return WaitResult::TimedOut;
        }
        const timespec interval = ToTimespec(pollInterval);
        ppoll(nullptr, 0, &interval, nullptr);
    }
    return WaitResult::AllEnded;
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
    DIR* const directory = opendir("/proc");
    if (directory == nullptr) {
        return;
    }
    bool more = true;
    while (more) {
        const dirent* const entry = readdir(directory);
        if (entry == nullptr) {
            break;
        }
        pid_t id = 0;
        const char* const end = entry->d_name + std::strlen(entry->d_name);
        const auto parsed = std::from_chars(entry->d_name, end, id);
        if (parsed.ec != std::errc() || parsed.ptr != end) {
            continue;
        }
        const QString name = procfile::ExecutableName(id);
        if (!name.isEmpty()) {
            more = visit({static_cast<unsigned long>(id), name, 0});
        }
    }
    closedir(directory);
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
    std::vector<pollfd> waiting;
    for (const auto& process : processes) {
        const int descriptor = static_cast<const LinuxProcess&>(*process).Descriptor();
        if (descriptor < 0) {
            return PollForAll(processes, deadline);
        }
        waiting.push_back({descriptor, POLLIN, 0});
    }
    while (!waiting.empty()) {
        const std::size_t before = waiting.size();
        const bool isLastLook = deadline.hasExpired();
        if (!WaitForSome(waiting, deadline)) {
            return WaitResult::Failed;
        }
        if (isLastLook && waiting.size() == before) {
            return WaitResult::TimedOut;
        }
    }
    return WaitResult::AllEnded;
}

void EndById(unsigned long id)
{
    if (const auto process = OpenId(id, true)) {
        process->SendSignal(SIGKILL);
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
