#include "../processes.h"

#include <QProcess>

#include <algorithm>
#include <array>

#include <qt_windows.h>

#include <psapi.h>
#include <tlhelp32.h>

namespace common::processes
{

namespace
{

/// Modules that are looked at; more are not told. That is meant.
constexpr std::size_t maxModules = 1024;

class HandleProcess final : public Process
{
public:
    explicit HandleProcess(HANDLE handle_)
        : handle(handle_)
    {}
    ~HandleProcess() override { CloseHandle(handle); }

    HANDLE Handle() const { return handle; }

    QString ImagePath() const override
    {
        std::array<wchar_t, MAX_PATH> path{};
        const DWORD length = K32GetModuleFileNameExW(handle, nullptr, path.data(), MAX_PATH);
        return QString::fromWCharArray(path.data(), static_cast<qsizetype>(length));
    }

    bool End(unsigned int exitCode) override { return TerminateProcess(handle, exitCode) != 0; }

private:
    Q_DISABLE_COPY(HandleProcess)

    HANDLE handle;
};

} // namespace

void ForEach(const std::function<bool(const Entry&)>& visit)
{
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    if (snapshot == INVALID_HANDLE_VALUE) {
        return;
    }
    PROCESSENTRY32W process{};
    process.dwSize = sizeof(process);
    bool more = Process32FirstW(snapshot, &process) != 0;
    while (more) {
        const unsigned long parent = process.th32ParentProcessID;
        more = visit({process.th32ProcessID, QString::fromWCharArray(process.szExeFile),
                      [parent] { return parent; }}) &&
               Process32NextW(snapshot, &process) != 0;
    }
    CloseHandle(snapshot);
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
    const HANDLE handle = OpenProcess(access, FALSE, entry.id);
    return handle != nullptr ? std::make_unique<HandleProcess>(handle) : nullptr;
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
    const HANDLE handle = OpenProcess(PROCESS_TERMINATE, FALSE, id);
    // Without the right to wait, the wait fails at once and the loop ends after its first turn; this is
    // meant.
    DWORD waited = WAIT_FAILED;
    do {
        waited = WaitForSingleObject(handle, waitTime);
        TerminateProcess(handle, 0);
    } while (waited == WAIT_OBJECT_0);
    CloseHandle(handle);
}

QStringList OwnModules()
{
    QStringList paths;
    const HANDLE process =
        OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, GetCurrentProcessId());
    if (process == nullptr) {
        return paths;
    }
    std::array<HMODULE, maxModules> modules{};
    DWORD needed = 0;
    if (K32EnumProcessModules(process, modules.data(), sizeof(modules), &needed) != 0) {
        const std::size_t count = std::min<std::size_t>(needed / sizeof(HMODULE), maxModules);
        for (std::size_t i = 0; i < count; ++i) {
            std::array<wchar_t, MAX_PATH> path{};
            const DWORD length = K32GetModuleFileNameExW(process, modules[i], path.data(), MAX_PATH);
            if (length != 0) {
                paths += QString::fromWCharArray(path.data(), static_cast<qsizetype>(length));
            }
        }
    }
    CloseHandle(process);
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
