#pragma once

#include <QString>

#include <chrono>
#include <memory>

class QLocalSocket;

namespace QtLP_Private
{

class QtLockedFile;

/// Whether a file or a socket can be removed while it is in use.
extern const bool filesAreRemovable;

/// Returns the suffix of the socket name that separates groups of processes: the logon session on Windows,
/// the user on Linux. Includes the leading "-"; empty if unknown.
QString GroupSuffix();

/**
 * Opens the lock file for reading and writing and creates it if necessary.
 *
 * @return Null, with a warning, if the path exists but is not a file of this user; it is left unchanged.
 * Otherwise the file, which is not open if opening failed.
 */
std::unique_ptr<QtLockedFile> OpenLockFile(const QString& path);

/// Returns whether `path` still refers to the open lock file.
bool IsInPlace(const QtLockedFile& file, const QString& path);

// A path in the temporary directory identifies a local server. Windows uses only the last component.

/// Connects to the local server without allowing it to impersonate this process.
bool Connect(QLocalSocket& socket, const QString& path, std::chrono::milliseconds timeout);

/// Returns whether a running process serves the path.
bool IsServed(const QString& path);

/// Returns whether the process at the other end of a socket is known to belong to this user.
bool IsOwnPeer(const QLocalSocket& socket);

} // namespace QtLP_Private
