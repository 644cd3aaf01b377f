#pragma once

#include <common/vxcommon_export.h>

#include <QDir>
#include <QString>
#include <QStringList>

namespace common
{

/**
 * Well-known folders, plain file jobs, the file manager, shortcuts, processes and components.
 *
 * The functions block the calling thread, can be called from any thread and never retry. For long jobs with
 * progress, use FileCopier and FileRemover. Failures are reported by the result, and on the log channel
 * "common.shell" where a line is mentioned below. A job that fails halfway leaves its changes in place.
 */
class VXCOMMON_EXPORT Shell
{
public:
    Shell() = delete;

    /// @name Folders
    /// Paths with native separators. A missing folder is created; a failure of that is not reported.
    /// @{

    /// Application data of the user: CSIDL_APPDATA (roaming) on Windows, XDG_DATA_HOME on Linux.
    static QString AppPath();
    /// CSIDL_DESKTOPDIRECTORY; the XDG user directory DESKTOP.
    static QString DesktopPath();
    /// Start menu entries of the user: CSIDL_PROGRAMS; "applications" in XDG_DATA_HOME.
    static QString StartMenuPath();
    /// The quick launch folder below AppPath. Not created, and returned even if the desktop has none.
    static QString QuickLaunchPath();
    /// Always returns false: desktops no longer have a quick launch bar.
    static bool IsQuickLaunchAvailable();
    /// Directory of the running executable, with forward slashes. On failure empty, with an Error line.
    static QString applicationDirPath();
    /// Returns a new name in the temporary directory, never the same twice in a process. Creates nothing.
    /// @warning Two processes may get the same name within one second. For a directory that is yours alone,
    /// use QTemporaryDir, or QDir::mkdir and another name if that returns false.
    static QString TempPath();
    /// @}

    /// Always returns true: the product exists for 64-bit systems only.
    static bool Is64BitSystem();

    /// Returns the language tag of the user such as "de-DE"; without one, the locale name such as "de_DE".
    static QString LocaleName();

    /// @name Files and directories
    /// @{

    /**
     * Copies one file; the directories above `destination` are made.
     *
     * @param overwrite remove a file that stands at `destination` first; else it makes the copy fail
     * @return whether the file was copied; each step that fails writes an Error line. Only what a regular
     * file holds can be copied: devices, pipes and sockets fail. So does a copy onto the source itself,
     * which is left alone.
     */
    static bool Copy(const QString& source, const QString& destination, bool overwrite);

    /**
     * Copies `files`, which lie below `sourceDirectory`, to the same places below `destinationDirectory`.
     * Stops at the first file that fails and then returns false; what was copied before it stays. With an
     * empty directory every file fails.
     */
    static bool Copy(const QStringList& files, const QString& sourceDirectory,
                     const QString& destinationDirectory, bool overwrite);

    /**
     * Copies a tree of directories. Writes no log line.
     *
     * @param destination is not made itself: it must exist, unless a subdirectory that is to be copied brings
     * it into being
     * @param filters which directories of the first level are copied; below it, all that are not hidden
     * @param tolerate pass over files of the first level that cannot be copied; below it, each failure counts
     * @return false at the first failure that counts. A file that already exists counts as a failure, and so
     * does a link in the place of a directory below `destination`, or a directory that would never end: the
     * destination itself, or a link back to a directory above it.
     */
    static bool CopyDir(const QString& source, const QString& destination, QDir::Filters filters,
                        bool tolerate);

    /**
     * Moves a directory: by renaming it on one drive; else by CopyDir, under its conditions, and removal.
     *
     * What stands before the first ":" of a path is its drive. A path without one is reported by an Error
     * line, and only renaming is tried: so it is with every path on Linux that has no colon.
     *
     * The source is removed whole, with hidden files that CopyDir leaves out. Between drives, fails and
     * changes nothing if the destination is in the source, or if the source holds pipes, devices or links to
     * nothing, which cannot be copied.
     *
     * @return whether all files are at `destination`; a source that cannot be removed after copying is only a
     * Warn line
     */
    static bool MoveDir(const QString& source, const QString& destination);

    /**
     * Absolute paths of everything below `path` that is no directory, by name at each level, case ignored.
     *
     * @param nameFilters wildcards that ignore case; directories that do not match are not entered. Empty
     * for all names.
     *
     * Hidden names are left out. Links to directories are followed, except back to a directory that is being
     * scanned.
     */
    static QStringList ScanFiles(const QString& path, const QStringList& nameFilters);
    /// @}

    /// @name Desktop
    /// @{

    /**
     * Opens the file manager with `path` selected.
     *
     * Windows: SHOpenFolderAndSelectItems, for which the thread must have COM initialised; only for paths
     * that the shell cannot name is explorer.exe started instead. Linux: ShowItems of
     * org.freedesktop.FileManager1 on the session bus; only where no such service answers is xdg-open started
     * on the directory. Blocks for 2 s at the most on Linux.
     *
     * @return whether the request was accepted, or else the program started; if not, an Error line is written
     * for the latter
     */
    static bool ShowFile(const QString& path);

    /**
     * Writes a shortcut: a shell link on Windows, where the thread must have COM initialised and
     * `shortcutPath` should end in ".lnk"; a desktop entry on Linux (".desktop"). Replaces an existing file;
     * on Linux a link is replaced, too, and not followed.
     *
     * @param workingDirectory may be empty; on Linux a relative one becomes absolute
     * @param arguments as on a command line; on Linux separated by spaces, with double quotes around spaces
     * and around an empty argument
     * @param description tooltip; may be empty
     * @param applicationId application user model id on Windows, StartupWMClass on Linux; may be empty
     * @return whether the file was written; nothing is logged
     */
    static bool CreateShortcut(const QString& target, const QString& workingDirectory,
                               const QString& arguments, const QString& shortcutPath,
                               const QString& description, const QString& applicationId);

    /**
     * Starts a separate process that removes the directory `path` with everything in it within about 5 s, so
     * that a program can remove its own installation. The outcome of the removal is not reported.
     *
     * @return whether that process started, which is also logged; true if there is no such directory
     */
    static bool RemoveAfterExit(const QString& path);
    /// @}

    /**
     * @name Processes
     *
     * A `name` without a directory is compared with the executable names of all processes, one with a
     * directory with the full paths of their images; letter case does not matter. A process that this user
     * may not open counts as none, and so does one that has ended but was not yet collected by its parent. At
     * most 64 processes are used, the first in the order of the system. Nothing is logged except for one Warn
     * line on a Linux kernel without pidfd.
     *
     * On Linux the executable name is the base name of the image file, not what a program calls itself: a
     * script is its interpreter. Of a process whose image is not for this user to see it is the kernel's
     * name, which ends after 15 bytes.
     */
    /// @{

    /// Whether at least one process matches. An empty name matches none; so it is below.
    static bool ProcessExists(const QString& name);

    /**
     * Ends all matching processes at once, unasked: TerminateProcess with exit code 1; SIGKILL on Linux.
     *
     * @return 0 if all that could be opened for ending were ended, or there were none; else -1
     */
    static int ProcessKill(const QString& name);

    /**
     * Waits until all processes have ended that match at the moment of the call.
     *
     * @param timeout in ms; -1 waits without end
     * @return 0 when all have ended or none matched, 1 on time-out, -1 if the wait failed or, on Windows, an
     * asynchronous procedure call came in between
     */
    static int ProcessWait(const QString& name, int timeout);

    /**
     * Paths of the executable and the libraries that are loaded into this process and have `name` somewhere
     * in their path, here with regard to letter case; in the loader's order.
     */
    static QStringList ProcessModules(const QString& name);

    /**
     * Starts a program that outlives this process. It inherits no open file, socket or other handle of this
     * process except, on Linux, the standard streams.
     *
     * @param workingDirectory empty for the current one
     * @return whether it started; false for a missing program or working directory
     */
    static bool ProcessStartDetached(const QString& program, const QStringList& arguments,
                                     const QString& workingDirectory);
    /// @}

    /// @name Components
    /// @{

    /**
     * Loads a component library and runs its own registration, "DllRegisterServer": on Windows a COM
     * component, on Linux any shared object with a function of that name,
     * `extern "C" int32_t DllRegisterServer()`.
     *
     * @param path of the library, as QLibrary takes it
     * @param admin register for all users; else for the current one, for which HKEY_CLASSES_ROOT is
     * redirected to `Software\\Classes` of HKEY_CURRENT_USER while the component runs. See RegistryOverrider
     * for what that means to other threads; on Linux there is nothing to redirect
     * @return the HRESULT of the component, so 0 for success; 0x80004002 (E_NOINTERFACE) if the library does
     * not load or has no such function. Failures are logged
     */
    static unsigned long RegisterComponent(const QString& path, bool admin);

    /// The same with "DllUnregisterServer".
    static unsigned long UnregisterComponent(const QString& path, bool admin);
    /// @}
};

} // namespace common
