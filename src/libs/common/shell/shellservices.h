#pragma once

#include <QString>

#include <optional>

/// What a desktop must deliver for common::Shell.
namespace common::shellservices
{

enum class Folder
{
    ApplicationData,
    Desktop,
    Programs
};

/// Native path of a well-known folder of the user, which is made if missing.
QString FolderPath(Folder folder);

/// Path of the running executable; empty if it cannot be told.
QString ExecutablePath();

/// Asks the desktop to show `path`: whether it accepted, or nothing if there is nobody to ask.
std::optional<bool> SelectInFileManager(const QString& path);

/// Starts the file manager as a program of its own; `command` receives the line that stands for it in the
/// log.
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
