#include "spawn.h"

#include <QFile>
#include <QStandardPaths>

#include <array>
#include <cerrno>
#include <csignal>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace common
{

namespace
{

/// In the child, receives errno of a failed start; closed automatically when the program runs.
constexpr int reportDescriptor = 3;

/// Data for the child, prepared before fork: the child of a multithreaded process must not allocate or lock.
struct Launch
{
    QByteArray program;
    QByteArray workingDirectory;
    std::vector<QByteArray> texts;
    std::vector<char*> arguments;
};

[[noreturn]] void Report(int error)
{
    const ssize_t written = write(reportDescriptor, &error, sizeof(error));
    _exit(written == sizeof(error) ? 0 : 1);
}

/// Runs in the child. The child forks again to start the program, and then exits immediately.
[[noreturn]] void RunChild(const Launch& launch, int report)
{
    dup2(report, reportDescriptor);
    fcntl(reportDescriptor, F_SETFD, FD_CLOEXEC);
    closefrom(reportDescriptor + 1);
    static_cast<void>(std::signal(SIGPIPE, SIG_DFL));
    setsid();
    const pid_t program = fork();
    if (program < 0) {
        Report(errno);
    }
    if (program > 0) {
        _exit(0);
    }
    if (!launch.workingDirectory.isEmpty() && chdir(launch.workingDirectory.constData()) != 0) {
        Report(errno);
    }
    execv(launch.program.constData(), launch.arguments.data());
    Report(errno);
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

/// Waits for the child and returns whether it exited with code 0. Also returns true if its status is
/// unavailable, because the program ignores SIGCHLD.
bool Reap(pid_t child)
{
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status == 0;
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
    launch.texts.push_back(QFile::encodeName(program));
    for (const QString& argument : arguments) {
        launch.texts.push_back(argument.toLocal8Bit());
    }
    for (QByteArray& text : launch.texts) {
        launch.arguments.push_back(text.data());
    }
    launch.arguments.push_back(nullptr);

    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return errno;
    }
    const pid_t child = fork();
    if (child == 0) {
        RunChild(launch, ends[1]);
    }
    const int forkError = errno;
    close(ends[1]);
    int error = child < 0 ? forkError : 0;
    if (child > 0) {
        error = ReadReport(ends[0]);
        if (!Reap(child) && error == 0) {
            error = EIO; // The child was killed before it could report.
        }
    }
    close(ends[0]);
    return error;
}

} // namespace common
