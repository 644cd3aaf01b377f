#include "../peerplatform.h"

#include <common/singleapp/qtlockedfile.h>

#include <QElapsedTimer>
#include <QLibrary>
#include <QLocalSocket>

#include <algorithm>
#include <memory>
#include <vector>

#include <windows.h>

namespace QtLP_Private
{

namespace
{

struct CloseHandleOf
{
    void operator()(HANDLE handle) const { ::CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, CloseHandleOf>;

QString PipeName(const QString& name)
{
    return QStringLiteral(R"(\\.\pipe\)") + name;
}

const wchar_t* Wide(const QString& text)
{
    return reinterpret_cast<const wchar_t*>(text.utf16());
}

/// Returns the security identifier (SID) of a process's user; empty if it cannot be read.
std::vector<char> UserOf(HANDLE process)
{
    HANDLE rawToken = nullptr;
    if (::OpenProcessToken(process, TOKEN_QUERY, &rawToken) == 0) {
        return {};
    }
    const Handle token(rawToken);
    DWORD size = 0;
    ::GetTokenInformation(token.get(), TokenUser, nullptr, 0, &size);
    std::vector<char> user(size);
    if (::GetTokenInformation(token.get(), TokenUser, user.data(), size, &size) == 0) {
        return {};
    }
    // TOKEN_USER points into the buffer, so the SID itself is returned.
    const auto* const sid =
        static_cast<const char*>(reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid);
    return {sid, sid + ::GetLengthSid(const_cast<char*>(sid))};
}

} // namespace

// Each is an instance of the pipe, created when listening begins: hundreds would delay the interface.
const int listenBacklog = 64;

QString GroupSuffix()
{
    using ProcessIdToSessionIdFunction = BOOL(WINAPI*)(DWORD, DWORD*);
    static ProcessIdToSessionIdFunction processIdToSessionId = nullptr;
    if (processIdToSessionId == nullptr) {
        processIdToSessionId = reinterpret_cast<ProcessIdToSessionIdFunction>(
            QLibrary::resolve(QStringLiteral("kernel32"), "ProcessIdToSessionId"));
    }
    if (processIdToSessionId == nullptr) {
        return {};
    }
    DWORD session = 0;
    processIdToSessionId(::GetCurrentProcessId(), &session);
    return u'-' + QString::number(session, 16);
}

bool OpenLockFile(QtLockedFile& file)
{
    // The temporary folder belongs to the user, so no other user can have put anything there.
    file.open(QIODevice::ReadWrite);
    return true;
}

bool IsInPlace(const QtLockedFile& /*file*/, const QString& /*path*/)
{
    // An open file cannot be removed, and the lock belongs to the path.
    return true;
}

bool KeepFresh(const QString& /*path*/)
{
    return true;
}

QFileSystemWatcher* WatchLockFile(const QString& /*path*/, QObject* /*parent*/)
{
    return nullptr;
}

// QLocalSocket would allow the server to impersonate this process, and wait 5 s for a busy pipe.
bool Connect(QLocalSocket& socket, const QString& name, std::chrono::milliseconds timeout)
{
    const QString pipe = PipeName(name);
    QElapsedTimer timer;
    timer.start();
    qint64 left = timeout.count();
    do {
        HANDLE handle =
            ::CreateFileW(Wide(pipe), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                          FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_ANONYMOUS, nullptr);
        if (handle != INVALID_HANDLE_VALUE) {
            return socket.setSocketDescriptor(reinterpret_cast<qintptr>(handle));
        }
        if (::GetLastError() != ERROR_PIPE_BUSY) {
            return false;
        }
        left = timeout.count() - timer.elapsed();
        // 0 would stand for a default of the server.
    } while (left > 0 && ::WaitNamedPipeW(Wide(pipe), static_cast<DWORD>(left)) != 0);
    return false;
}

bool IsServed(const QString& name)
{
    return ::WaitNamedPipeW(Wide(PipeName(name)), 1) != 0;
}

bool IsOwnPeer(const QLocalSocket& socket)
{
    ULONG processId = 0;
    if (::GetNamedPipeServerProcessId(reinterpret_cast<HANDLE>(socket.socketDescriptor()), &processId) == 0) {
        return false; // The connection has ended.
    }
    const Handle process(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    const std::vector<char> theirs = process ? UserOf(process.get()) : std::vector<char>();
    if (!theirs.empty() && theirs == UserOf(::GetCurrentProcess())) {
        return true;
    }
    qWarning("QtLocalPeer: the process behind the local socket belongs to another user");
    return false;
}

} // namespace QtLP_Private
