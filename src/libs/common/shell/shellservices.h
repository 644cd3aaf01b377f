#pragma once

#include <QString>

#include <optional>

/// Desktop services for common::Shell.
namespace common::shellservices
{

enum class Folder
{
    ApplicationData,
    Desktop,
    Programs
};

/// Returns the native path of a well-known folder of the user, and creates it if it is missing.
QString FolderPath(Folder folder);

/// Returns the path of the running executable; empty on failure.
QString ExecutablePath();

/// Requests that the file manager show `path`. Returns whether the request was accepted, or nothing if the
/// request could not be made or no file manager responded.
std::optional<bool> SelectInFileManager(const QString& path);

/// Starts the file manager as a separate program. `command` receives its command line for the log.
bool StartFileManager(const QString& path, QString& command);

struct Shortcut
{
    QString target;
    QString workingDirectory;
    QString arguments;
    QString description;
    QString applicationId;
};

bool SaveShortcut(const Shortcut& shortcut, const QString& path);

/// Starts a process that waits up to 5 s and then removes `directory`; `command` receives its command line.
/// Returns 0 or the system's error code.
unsigned long StartRemoval(const QString& directory, const QString& workingDirectory, QString& command);

} // namespace common::shellservices
