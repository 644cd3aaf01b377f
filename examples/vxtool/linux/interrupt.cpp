#include "../interrupt.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace vxtool
{

namespace
{

int wakeUp[2] = {-1, -1};

/// Only what a signal handler may do: a byte into a pipe, which the event loop reads.
void Notify(int /*signal*/)
{
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(wakeUp[1], &byte, 1);
}

} // namespace

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

} // namespace vxtool
