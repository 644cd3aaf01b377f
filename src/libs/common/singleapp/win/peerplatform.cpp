#include "../peerplatform.h"

#include "../../platform/win/uniquehandle.h"

#include <common/singleapp/qtlockedfile.h>

#include <QDeadlineTimer>
#include <QLibrary>
#include <QLocalSocket>

#include <string>

#include <windows.h>

namespace QtLP_Private
{

namespace
{

std::wstring PipeName(const QString& path)
{
    return LR"(\\.\pipe\)" + path.section(u'/', -1).toStdWString();
}

/// Returns the security identifier (SID) of a process's user; empty if it cannot be read.
QByteArray UserOf(HANDLE process)
{
    HANDLE opened = nullptr;
    if (::OpenProcessToken(process, TOKEN_QUERY, &opened) == 0) {
        return {};
    }
    const common::platform::UniqueHandle token(opened);
    alignas(TOKEN_USER) char user[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    DWORD size = 0;
    const bool read = ::GetTokenInformation(token.Get(), TokenUser, user, sizeof(user), &size) != 0;
    const PSID sid = reinterpret_cast<const TOKEN_USER*>(user)->User.Sid;
    return read ? QByteArray(static_cast<const char*>(sid), ::GetLengthSid(sid)) : QByteArray();
}

} // namespace

const bool filesAreRemovable = false;

QString GroupSuffix()
{
    static const auto processIdToSessionId = reinterpret_cast<BOOL(WINAPI*)(DWORD, DWORD*)>(
        QLibrary::resolve(QStringLiteral("kernel32"), "ProcessIdToSessionId"));
    if (processIdToSessionId == nullptr) {
        return {};
    }
    DWORD session = 0;
    processIdToSessionId(::GetCurrentProcessId(), &session);
    return u'-' + QString::number(session, 16);
}

// The temporary directory belongs to the user, so no other user can have created this file.
std::unique_ptr<QtLockedFile> OpenLockFile(const QString& path)
{
    auto file = std::make_unique<QtLockedFile>(path);
    file->open(QIODevice::ReadWrite);
    return file;
}

bool IsInPlace(const QtLockedFile& /*file*/, const QString& /*path*/)
{
    return true; // The lock is held by mutexes, not by the file.
}

// QLocalSocket would allow the server to impersonate this process, and would wait 5 s for a busy pipe.
bool Connect(QLocalSocket& socket, const QString& path, std::chrono::milliseconds timeout)
{
    const std::wstring pipe = PipeName(path);
    const QDeadlineTimer deadline(timeout);
    HANDLE handle = INVALID_HANDLE_VALUE;
    do {
        handle = ::CreateFileW(pipe.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                               FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_ANONYMOUS, nullptr);
        // At least 1 ms: a timeout of 0 would mean the server's default.
    } while (handle == INVALID_HANDLE_VALUE && ::GetLastError() == ERROR_PIPE_BUSY &&
             !deadline.hasExpired() &&
             ::WaitNamedPipeW(pipe.c_str(), static_cast<DWORD>(deadline.remainingTime()) + 1) != 0);
    return handle != INVALID_HANDLE_VALUE && socket.setSocketDescriptor(reinterpret_cast<qintptr>(handle));
}

bool IsServed(const QString& path)
{
    return ::WaitNamedPipeW(PipeName(path).c_str(), 1) != 0;
}

bool IsOwnPeer(const QLocalSocket& socket)
{
    ULONG processId = 0;
    ::GetNamedPipeServerProcessId(reinterpret_cast<HANDLE>(socket.socketDescriptor()), &processId);
    const common::platform::UniqueHandle process(
        ::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    const QByteArray theirs = UserOf(process.Get());
    return !theirs.isEmpty() && theirs == UserOf(::GetCurrentProcess());
}

} // namespace QtLP_Private
