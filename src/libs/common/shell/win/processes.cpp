#include "../processes.h"

#include "../../platform/win/uniquehandle.h"

#include <QProcess>

#include <algorithm>
#include <array>
#include <utility>

#include <qt_windows.h>

#include <psapi.h>
#include <tlhelp32.h>

namespace common::processes
{

using platform::UniqueHandle;

namespace
{

/// Maximum number of listed modules. Kept for compatibility: longer lists are truncated.
constexpr std::size_t maxModules = 1024;

class HandleProcess final : public Process
{
public:
    explicit HandleProcess(UniqueHandle handle_)
        : handle(std::move(handle_))
    {}

    HANDLE Handle() const { return handle.Get(); }

    QString ImagePath() const override
    {
        std::array<wchar_t, MAX_PATH> path{};
        const DWORD length = K32GetModuleFileNameExW(handle.Get(), nullptr, path.data(), MAX_PATH);
        return QString::fromWCharArray(path.data(), static_cast<qsizetype>(length));
    }

    bool End() override { return TerminateProcess(handle.Get(), 1) != 0; }

private:
    UniqueHandle handle;
};

} // namespace

unsigned long ParentOf(const Entry& entry)
{
    return entry.parentId;
}

void ForEach(const std::function<bool(const Entry&)>& visit)
{
    const UniqueHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    if (!snapshot.IsOpen()) {
        return;
    }
    PROCESSENTRY32W process{};
    process.dwSize = sizeof(process);
    bool more = Process32FirstW(snapshot.Get(), &process) != 0;
    while (more) {
        more = visit({process.th32ProcessID, QString::fromWCharArray(process.szExeFile),
                      process.th32ParentProcessID}) &&
               Process32NextW(snapshot.Get(), &process) != 0;
    }
}

std::unique_ptr<Process> Open(const Entry& entry, unsigned int rights)
{
    DWORD access = SYNCHRONIZE;
    if ((rights & ReadImage) != 0) {
        access |= PROCESS_QUERY_INFORMATION | PROCESS_VM_READ;
    }
    if ((rights & Terminate) != 0) {
        access |= PROCESS_TERMINATE;
    }
    UniqueHandle handle(OpenProcess(access, FALSE, entry.id));
    return handle.IsOpen() ? std::make_unique<HandleProcess>(std::move(handle)) : nullptr;
}

WaitResult WaitForAll(const ProcessList& processes, quint32 timeout)
{
    std::vector<HANDLE> handles;
    for (const auto& process : processes) {
        handles.push_back(static_cast<const HandleProcess&>(*process).Handle());
    }
    const auto count = static_cast<DWORD>(handles.size());
    const DWORD result = WaitForMultipleObjectsEx(count, handles.data(), TRUE, timeout, TRUE);
    if (result < count) {
        return WaitResult::AllEnded;
    }
    return result == WAIT_TIMEOUT ? WaitResult::TimedOut : WaitResult::Failed;
}

void EndById(unsigned long id)
{
    constexpr DWORD waitTime = 100;
    const UniqueHandle handle(OpenProcess(PROCESS_TERMINATE, FALSE, id));
    // Kept for compatibility: the handle does not grant the right to wait. The wait fails immediately, and
    // the loop ends after one pass.
    DWORD waited = WAIT_FAILED;
    do {
        waited = WaitForSingleObject(handle.Get(), waitTime);
        TerminateProcess(handle.Get(), 0);
    } while (waited == WAIT_OBJECT_0);
}

QStringList OwnModules()
{
    QStringList paths;
    const UniqueHandle process(
        OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, GetCurrentProcessId()));
    if (!process.IsOpen()) {
        return paths;
    }
    std::array<HMODULE, maxModules> modules{};
    DWORD needed = 0;
    if (K32EnumProcessModules(process.Get(), modules.data(), sizeof(modules), &needed) != 0) {
        const std::size_t count = std::min<std::size_t>(needed / sizeof(HMODULE), maxModules);
        for (std::size_t i = 0; i < count; ++i) {
            std::array<wchar_t, MAX_PATH> path{};
            const DWORD length = K32GetModuleFileNameExW(process.Get(), modules[i], path.data(), MAX_PATH);
            if (length != 0) {
                paths += QString::fromWCharArray(path.data(), static_cast<qsizetype>(length));
            }
        }
    }
    return paths;
}

bool StartDetached(const QString& program, const QStringList& arguments, const QString& workingDirectory)
{
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    process.setWorkingDirectory(workingDirectory);
    process.setCreateProcessArgumentsModifier(
        [](QProcess::CreateProcessArguments* created) { created->inheritHandles = false; });
    return process.startDetached(nullptr);
}

DebuggerOutput::DebuggerOutput()
    : attached(true)
{}

void DebuggerOutput::Write(const QString& text) const
{
    if (attached) {
        OutputDebugStringW(reinterpret_cast<const wchar_t*>(text.utf16()));
    }
}

} // namespace common::processes
