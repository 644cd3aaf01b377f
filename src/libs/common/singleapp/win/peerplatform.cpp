#include "../peerplatform.h"

#include <common/singleapp/qtlockedfile.h>

#include <QLibrary>

#include <windows.h>

namespace QtLP_Private
{

// Each is an instance of the pipe, made when listening begins: hundreds would be felt in the interface.
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
    // The temporary folder belongs to the user, so nobody else can have put anything in the way.
    file.open(QIODevice::ReadWrite);
    return true;
}

bool IsInPlace(const QtLockedFile& /*file*/, const QString& /*path*/)
{
    // An open file cannot be removed, and the lock belongs to the path.
    return true;
}

bool IsOwnPeer(const QLocalSocket& /*socket*/)
{
    // The name holds the session, and the pipe's security descriptor admits its user only.
    return true;
}

} // namespace QtLP_Private
