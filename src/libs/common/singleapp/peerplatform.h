#pragma once

#include <QString>

#include <chrono>

class QFileSystemWatcher;
class QLocalSocket;
class QObject;

namespace QtLP_Private
{

class QtLockedFile;

/// Number of processes that may connect at the same moment, as when a session starts.
extern const int listenBacklog;

/// The suffix of the socket name that separates groups of processes: the logon session on Windows, the user
/// on Linux. With its leading "-"; empty if it is unknown.
QString GroupSuffix();

/**
 * Opens the lock file for reading and writing and creates it if necessary.
 *
 * @return False, with a warning, if something that does not belong to this user occupies the path; it is left
 * alone. True otherwise, even if the file could not be opened.
 */
bool OpenLockFile(QtLockedFile& file);

/// Returns whether `path` still leads to the open lock file.
bool IsInPlace(const QtLockedFile& file, const QString& path);

/// Updates the time stamp of a file once an hour, so that it does not look abandoned. Returns false if the
/// file has been removed.
bool KeepFresh(const QString& path);

/// Returns a watcher that reports the removal of the lock file; null where an open file cannot be removed.
QFileSystemWatcher* WatchLockFile(const QString& path, QObject* parent);

/// Connects to the local server, which cannot impersonate this process.
bool Connect(QLocalSocket& socket, const QString& name, std::chrono::milliseconds timeout);

/// Returns whether a living process listens under this name.
bool IsServed(const QString& name);

/// Returns whether the process that a socket is connected to belongs to this user; warns if it does not.
bool IsOwnPeer(const QLocalSocket& socket);

} // namespace QtLP_Private
