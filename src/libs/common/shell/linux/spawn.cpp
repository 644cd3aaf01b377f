#include "spawn.h"

#include <QFile>
#include <QStandardPaths>

#include <array>
#include <cerrno>
#include <csignal>
#include <limits>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace common
{

namespace
{

constexpr int firstExtraDescriptor = 3;

/// Data for the child, prepared before fork: the child of a multithreaded process must not allocate or lock.
struct Launch
{
    QByteArray program;
    QByteArray workingDirectory;
    std::vector<QByteArray> texts;
    std::vector<char*> arguments;
    int report = -1; ///< Receives errno of a failed start; closed automatically when the program runs.
    unsigned int descriptorLimit = 0;
};

/// Opens a pipe whose descriptors are not 0, 1 or 2, even if these are closed.
int OpenPipe(std::array<int, 2>& ends)
{
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return errno;
    }
    for (int& end : ends) {
        if (end < firstExtraDescriptor) {
            const int moved = fcntl(end, F_DUPFD_CLOEXEC, firstExtraDescriptor);
            const int error = errno;
            close(end);
            end = moved;
            if (moved < 0) {
                close(ends[0]);
                close(ends[1]);
                return error;
            }
        }
    }
    return 0;
}

unsigned int DescriptorLimit()
{
    rlimit limit{};
    constexpr unsigned int sane = 1 << 20; // Used if the system sets no lower limit.
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur > sane) {
        return sane;
    }
    return static_cast<unsigned int>(limit.rlim_cur);
}

void CloseRange(unsigned int first, unsigned int last, unsigned int limit)
{
    if (first > last || syscall(SYS_close_range, first, last, 0U) == 0) {
        return;
    }
    // Kernels before 5.9.
    for (unsigned int descriptor = first; descriptor <= last && descriptor < limit; ++descriptor) {
        close(static_cast<int>(descriptor));
    }
}

[[noreturn]] void Report(const Launch& launch, int error)
{
    const ssize_t written = write(launch.report, &error, sizeof(error));
    _exit(written == sizeof(error) ? 0 : 1);
}

/// Runs in the child. The child forks again to start the program, and then exits immediately.
[[noreturn]] void RunChild(const Launch& launch)
{
    static_cast<void>(std::signal(SIGPIPE, SIG_DFL));
    setsid();
    const pid_t program = fork();
    if (program < 0) {
        Report(launch, errno);
    }
    if (program > 0) {
        _exit(0);
    }
    if (!launch.workingDirectory.isEmpty() && chdir(launch.workingDirectory.constData()) != 0) {
        Report(launch, errno);
    }
    const auto report = static_cast<unsigned int>(launch.report);
    CloseRange(firstExtraDescriptor, report - 1, launch.descriptorLimit);
    CloseRange(report + 1, std::numeric_limits<unsigned int>::max(), launch.descriptorLimit);
    execv(launch.program.constData(), launch.arguments.data());
    Report(launch, errno);
}

int ReadReport(int descriptor)
{
    int error = 0;
    ssize_t count = 0;
    do {
        count = read(descriptor, &error, sizeof(error));
    } while (count < 0 && errno == EINTR);
    return count == sizeof(error) ? error : 0;
}

void Reap(pid_t child)
{
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
}

} // namespace

int SpawnDetached(const QString& program, const QStringList& arguments, const QString& workingDirectory)
{
    const QString path = program.contains(u'/') ? program : QStandardPaths::findExecutable(program);
    if (path.isEmpty()) {
        return ENOENT;
    }
    Launch launch;
    launch.program = QFile::encodeName(path);
    launch.workingDirectory = QFile::encodeName(workingDirectory);
    launch.descriptorLimit = DescriptorLimit();
    launch.texts.push_back(QFile::encodeName(program));
    for (const QString& argument : arguments) {
        launch.texts.push_back(argument.toLocal8Bit());
    }
    for (QByteArray& text : launch.texts) {
        launch.arguments.push_back(text.data());
    }
    launch.arguments.push_back(nullptr);

    std::array<int, 2> ends{};
    if (const int error = OpenPipe(ends); error != 0) {
        return error;
    }
    launch.report = ends[1];
    const pid_t child = fork();
    if (child == 0) {
        RunChild(launch);
    }
    const int forkError = errno;
    close(ends[1]);
    int error = child < 0 ? forkError : 0;
    if (child > 0) {
        error = ReadReport(ends[0]);
        Reap(child);
    }
    close(ends[0]);
    return error;
}

} // namespace common
