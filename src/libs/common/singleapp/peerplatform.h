#pragma once

#include <QString>

#include <chrono>
#include <memory>

class QLocalSocket;

namespace QtLP_Private
{

class QtLockedFile;

/// Whether a file or a socket in use can be removed.
extern const bool filesAreRemovable;

/// Returns the suffix of the socket name that separates groups of processes: the logon session on Windows,
/// the user on Linux. Includes the leading "-"; empty if unknown.
QString GroupSuffix();

/**
 * Opens the lock file for reading and writing and creates it if necessary.
 *
 * @return Null, with a warning, if something that does not belong to this user occupies the path; it is left
 * alone. Otherwise the file, which is not open if that failed.
 */
std::unique_ptr<QtLockedFile> OpenLockFile(const QString& path);

/// Returns whether `path` still leads to the open lock file.
bool IsInPlace(const QtLockedFile& file, const QString& path);

// A path in the temporary directory identifies a local server; Windows uses its last section.

/// Connects to the local server, which cannot impersonate this process.
bool Connect(QLocalSocket& socket, const QString& path, std::chrono::milliseconds timeout);

/// Returns whether a living process serves the path.
bool IsServed(const QString& path);

/// Returns whether the process that a socket is connected to is known to belong to this user.
bool IsOwnPeer(const QLocalSocket& socket);

} // namespace QtLP_Private
