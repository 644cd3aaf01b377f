#include "../interrupt.h"

#include <QCoreApplication>

#include <atomic>

#include <windows.h>

namespace vxtool
{

namespace
{

std::function<void()> onInterrupt;
std::atomic_bool interrupted{false};

/// Runs on a thread of the system.
BOOL WINAPI Notify(DWORD /*event*/)
{
    if (interrupted.exchange(true)) {
        return FALSE;
    }
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [] { onInterrupt(); }, Qt::QueuedConnection);
    return TRUE;
}

} // namespace

void OnInterrupt(const std::function<void()>& handle)
{
    onInterrupt = handle;
    SetConsoleCtrlHandler(Notify, TRUE);
}

} // namespace vxtool
