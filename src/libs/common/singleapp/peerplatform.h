#pragma once

#include <QString>

class QLocalSocket;

namespace QtLP_Private
{

class QtLockedFile;

/// So many processes may knock at the same moment, as when a session starts.
extern const int listenBacklog;

/// The end of the socket name that keeps groups of processes apart: the logon session on Windows, the user
/// elsewhere. With its leading "-"; empty if it cannot be told.
QString GroupSuffix();

/**
 * Opens the lock file for reading and writing and makes it if need be.
 *
 * @return false if something stands in its place that is not this user's: it was left alone, and a warning
 * says so. True otherwise, whether the file could be opened or not.
 */
bool OpenLockFile(QtLockedFile& file);

/// Whether the open lock file is still the one that stands at `path`.
bool IsInPlace(const QtLockedFile& file, const QString& path);

/// Whether the process behind a connected socket belongs to this user; warns if it is another's.
bool IsOwnPeer(const QLocalSocket& socket);

} // namespace QtLP_Private
