#include "../platform.h"

#include <QCoreApplication>

#include <atomic>
#include <cstdio>

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <objbase.h>
#include <shellapi.h>

namespace vxtool::platform
{

namespace
{

std::function<void()> onInterrupt;
std::atomic_bool interrupted{false};

/// Handles an interrupt. Windows calls the handler on a separate thread.
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

// argv uses the ANSI code page, which cannot represent every file name.
QStringList Arguments(int /*argc*/, char** /*argv*/)
{
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    QStringList arguments;
    for (int i = 1; i < count; ++i) {
        arguments += QString::fromWCharArray(words[i]);
    }
    LocalFree(words);
    return arguments;
}

void PrepareStandardStreams()
{
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
}

bool IsOutputTerminal()
{
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode) != FALSE;
}

int TerminalWidth()
{
    CONSOLE_SCREEN_BUFFER_INFO info;
    return GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info) != FALSE
               ? info.srWindow.Right - info.srWindow.Left + 1
               : 0;
}

QString TerminationProblem(unsigned long processId)
{
    const HANDLE process = OpenProcess(PROCESS_TERMINATE, FALSE, processId);
    if (process == nullptr) {
        return qt_error_string();
    }
    CloseHandle(process);
    return {};
}

void EnterDesktop()
{
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
}

void OnInterrupt(const std::function<void()>& handle)
{
    onInterrupt = handle;
    SetConsoleCtrlHandler(Notify, TRUE);
}

int EndAfterInterrupt(int exitCode)
{
    return interrupted ? static_cast<int>(STATUS_CONTROL_C_EXIT) : exitCode;
}

} // namespace vxtool::platform
