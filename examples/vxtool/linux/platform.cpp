#include "../platform.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <limits>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace vxtool::platform
{

namespace
{

int wakeUp[2] = {-1, -1};
volatile std::sig_atomic_t caughtSignal = 0;

/// Wakes the event loop through a pipe, because write is safe in a signal handler.
void Notify(int signal)
{
    caughtSignal = signal;
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(wakeUp[1], &byte, 1);
}

} // namespace

QStringList Arguments(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i) {
        arguments += QString::fromLocal8Bit(argv[i]);
    }
    return arguments;
}

void PrepareStandardStreams()
{
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) == -1) {
            // Open in the wrong direction, so that reading and writing fail with "Bad file descriptor". open
            // uses the lowest free descriptor, which is `descriptor`.
            static_cast<void>(open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY));
        }
    }
}

bool IsOutputTerminal()
{
    return isatty(STDOUT_FILENO) != 0;
}

int TerminalWidth()
{
    constexpr int usualWidth = 80; // For terminals that do not report their width.
    if (isatty(STDERR_FILENO) == 0) {
        return 0;
    }
    winsize size = {};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usualWidth;
}

QString TerminationProblem(unsigned long processId)
{
    // kill treats 0 as a process group; 1 is the init process.
    const bool isPid =
        processId > 1 && processId <= static_cast<unsigned long>(std::numeric_limits<pid_t>::max());
    errno = ESRCH;
    return isPid && kill(static_cast<pid_t>(processId), 0) == 0 ? QString() : qt_error_string();
}

void EnterDesktop() {}

void OnInterrupt(const std::function<void()>& handle)
{
    if (pipe2(wakeUp, O_CLOEXEC | O_NONBLOCK) != 0) {
        return;
    }
    auto* notifier = new QSocketNotifier(wakeUp[0], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [notifier, handle] {
        notifier->setEnabled(false);
        handle();
    });
    struct sigaction action = {};
    action.sa_handler = Notify;
    action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

int EndAfterInterrupt(int exitCode)
{
    if (caughtSignal != 0) {
        static_cast<void>(std::raise(caughtSignal)); // SA_RESETHAND has restored the default action.
    }
    return exitCode;
}

} // namespace vxtool::platform
