#pragma once

#include <common/vxcommon_export.h>

#include <QDir>
#include <QString>
#include <QStringList>

namespace common
{

/**
 * Provides known folders, plain file operations, the file manager, shortcuts, processes and components.
 *
 * Any thread may call the functions. They block and never retry. For long jobs with progress, use FileCopier
 * and FileRemover. The return value reports failures. Functions that are documented to log a line use the
 * log channel "common.shell". An operation that fails halfway leaves its changes in place.
 */
class VXCOMMON_EXPORT Shell
{
public:
    Shell() = delete;

    /// @name Folders
    /// Unless stated otherwise, these functions return paths with native separators and create missing
    /// folders. They do not report that a folder cannot be created.
    /// @{

    /// Returns the user's data directory: CSIDL_APPDATA (roaming) on Windows, XDG_DATA_HOME on Linux.
    static QString AppPath();
    /// Returns CSIDL_DESKTOPDIRECTORY on Windows, the XDG user directory DESKTOP on Linux.
    static QString DesktopPath();
    /// Returns the user's start menu directory: CSIDL_PROGRAMS, or "applications" in XDG_DATA_HOME.
    static QString StartMenuPath();
    /// Returns the quick launch folder below AppPath, even if the desktop has none. Does not create it.
    static QString QuickLaunchPath();
    /// Returns false: desktops no longer have a quick launch bar.
    static bool IsQuickLaunchAvailable();
    /// Returns the directory of the running executable, with forward slashes. If the path cannot be
    /// determined, logs an Error line and returns an empty string.
    static QString applicationDirPath();
    /// Returns a new path in the temporary directory, unique within the process. Creates nothing.
    /// @warning Two processes may get the same path within one second. For a directory of your own, use
    /// QTemporaryDir.
    static QString TempPath();
    /// @}

    /// Returns true: the library supports only 64-bit systems.
    static bool Is64BitSystem();

    /// Returns the user's language tag, such as "de-DE"; if unavailable, the locale name, such as "de_DE".
    static QString LocaleName();

    /// @name Files and directories
    /// @{

    /**
     * Copies one file and creates missing parent directories of `destination`.
     *
     * Fails for devices, pipes and sockets, and for a copy onto the source itself, which is left unchanged.
     *
     * @param overwrite true to remove an existing file at `destination` first, false to fail if there is one
     * @return whether the file was copied; each step that fails logs an Error line
     */
    static bool Copy(const QString& source, const QString& destination, bool overwrite);

    /**
     * Copies `files`, which are below `sourceDirectory`, to the same relative paths below
     * `destinationDirectory`. Stops at the first file that cannot be copied and returns false; files copied
     * earlier remain. If one of the directory names is empty, no file can be copied.
     */
    static bool Copy(const QStringList& files, const QString& sourceDirectory,
                     const QString& destinationDirectory, bool overwrite);

    /**
     * Copies a directory tree, without hidden files. Logs nothing.
     *
     * Fails if a file already exists at the destination, or if a link below `destination` has the name of a
     * directory to copy. Also fails for a directory whose copy would never end: the destination, or a link
     * to a parent directory.
     *
     * @param destination created if it is missing and the source has a subdirectory to copy; otherwise it
     * must exist
     * @param filters directories to copy at the first level; below that level, copies all that are not hidden
     * @param tolerate true to skip files at the first level if they cannot be copied
     * @return false at the first failure that is not skipped
     */
    static bool CopyDir(const QString& source, const QString& destination, QDir::Filters filters,
                        bool tolerate);

    /**
     * Moves a directory. If both paths are on the same drive, renames the directory. Otherwise, copies it as
     * CopyDir does and then removes the source.
     *
     * The drive of a path is the part before its first ":". If one of the paths has no drive, as is usual on
     * Linux, an Error line is logged and the directory is renamed.
     *
     * Between drives, fails and changes nothing if the destination is in the source, or if the source
     * contains pipes, devices or dangling links.
     *
     * @return whether the directory was renamed or copied; if the source cannot be removed after the copy,
     * only a Warn line is logged
     * @warning Between drives, hidden files are removed with the source, but not copied.
     */
    static bool MoveDir(const QString& source, const QString& destination);

    /**
     * Returns the absolute paths of everything below `path` that is neither a directory nor hidden. Sorts
     * each level by name, ignoring case. Follows links to directories, except back to a directory that is
     * being scanned.
     *
     * @param nameFilters wildcards that ignore case; empty for all names. A directory that does not match is
     * not entered.
     */
    static QStringList ScanFiles(const QString& path, const QStringList& nameFilters);
    /// @}

    /// @name Desktop
    /// @{

    /**
     * Opens the file manager with `path` selected.
     *
     * Windows: calls SHOpenFolderAndSelectItems, which needs COM initialised on the calling thread. Starts
     * explorer.exe only for paths that the shell cannot resolve. Linux: calls ShowItems of
     * org.freedesktop.FileManager1 on the session bus. Starts xdg-open on the directory only if no such
     * service responds. Blocks for 2 s at most on Linux.
     *
     * @return whether the request was accepted or the program started; if it did not start, an Error line is
     * logged
     */
    static bool ShowFile(const QString& path);

    /**
     * Writes a shortcut: a shell link (".lnk") on Windows, which needs COM initialised on the calling thread,
     * and a desktop entry (".desktop") on Linux. Replaces an existing file or, on Linux, a link. Logs
     * nothing.
     *
     * @param workingDirectory may be empty; on Linux a relative one becomes absolute
     * @param arguments command-line arguments; on Linux, separated by white space, with double quotes around
     * an argument that is empty or contains white space
     * @param description tool tip; may be empty
     * @param applicationId application user model id on Windows, StartupWMClass on Linux; may be empty
     * @return whether the file was written
     */
    static bool CreateShortcut(const QString& target, const QString& workingDirectory,
                               const QString& arguments, const QString& shortcutPath,
                               const QString& description, const QString& applicationId);

    /**
     * Starts a separate process that removes the directory `path` and its contents within about 5 s. A
     * program can thus remove its own installation. Does not report the outcome of the removal.
     *
     * @return whether the process started (also logged); true if the directory does not exist
     */
    static bool RemoveAfterExit(const QString& path);
    /// @}

    /**
     * @name Processes
     *
     * A `name` without a directory is compared with the executable names of all processes. A `name` with a
     * directory is compared with the full paths of the processes' images. Case is ignored, and an empty name
     * matches nothing. Processes that this user may not open, or that have ended but are not yet reaped, are
     * skipped. At most 64 matching processes are considered, in the order in which the system lists them.
     * Nothing is logged except for one Warn line on a Linux kernel without pidfd.
     *
     * On Linux, the executable name is the base name of the image file; for a script, that of its
     * interpreter. If this user may not read the image's path, the kernel's name (at most 15 bytes) is used.
     */
    /// @{

    /// Returns whether at least one process matches.
    static bool ProcessExists(const QString& name);

    /**
     * Terminates all matching processes, by TerminateProcess with exit code 1, or SIGKILL on Linux.
     *
     * @return 0 if all processes that could be opened were terminated, or there were none; otherwise -1
     */
    static int ProcessKill(const QString& name);

    /**
     * Waits until all processes that match at the time of the call have ended.
     *
     * @param timeout in ms; -1 for no limit
     * @return 0 if all have ended or none matched, 1 on timeout, -1 if the wait failed or, on Windows, was
     * interrupted by an asynchronous procedure call
     */
    static int ProcessWait(const QString& name, int timeout);

    /**
     * Returns the paths of this process's modules (executable and libraries) that contain `name`.
     * Case-sensitive, in the loader's order.
     */
    static QStringList ProcessModules(const QString& name);

    /**
     * Starts a program that outlives this process. It inherits no open file, socket or other handle of this
     * process except, on Linux, the standard streams.
     *
     * @param workingDirectory empty for the current directory
     * @return whether the program started; false if it or the working directory does not exist
     */
    static bool ProcessStartDetached(const QString& program, const QStringList& arguments,
                                     const QString& workingDirectory);
    /// @}

    /// @name Components
    /// @{

    /**
     * Loads a component library and calls its `DllRegisterServer` function. The library is a COM component on
     * Windows, or any shared object that exports `extern "C" int32_t DllRegisterServer()` on Linux.
     *
     * @param path path of the library, as for QLibrary
     * @param admin true to register for all users, false for the current one. If false, HKEY_CLASSES_ROOT is
     * redirected to `Software\\Classes` of HKEY_CURRENT_USER during the call; see RegistryOverrider for the
     * effect on other threads. Nothing is redirected on Linux.
     * @return the HRESULT of the component, 0 for success; 0x80004002 (E_NOINTERFACE) if the library cannot
     * be loaded or has no such function. Failures are logged.
     */
    static unsigned long RegisterComponent(const QString& path, bool admin);

    /// Like RegisterComponent, but calls `DllUnregisterServer`.
    static unsigned long UnregisterComponent(const QString& path, bool admin);
    /// @}
};

} // namespace common
