#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

/// Functions to find, await, terminate and start processes.
namespace common::processes
{

/// A process that ForEach has found. It may have ended since.
struct Entry
{
    unsigned long id;
    QString executableName; ///< Base name of its image.
    unsigned long parentId; ///< 0 if not yet determined; see ParentOf.
};

/// Returns the id of the parent process; 0 if it is unknown. Makes a system call on Linux.
unsigned long ParentOf(const Entry& entry);

/// Calls `visit` for each process until it returns false. Visits none if the processes cannot be listed.
void ForEach(const std::function<bool(const Entry&)>& visit);

/// Access rights to an open process; can be combined. Waiting for its end is always allowed.
enum Right : unsigned int
{
    OnlyWait = 0,
    ReadImage = 1,
    Terminate = 2
};

/// An open process. The object refers to the same process even if the id is reused.
class Process
{
public:
    virtual ~Process() = default;

    /// Returns the full native path of the image; empty on failure. Needs ReadImage.
    virtual QString ImagePath() const = 0;

    /// Terminates the process immediately with exit code 1. Needs the right Terminate.
    virtual bool End() = 0;

protected:
    Process() = default;

private:
    Q_DISABLE_COPY(Process)
};

using ProcessList = std::vector<std::unique_ptr<Process>>;

/// Returns null if the process has ended, or if this user does not have these rights.
std::unique_ptr<Process> Open(const Entry& entry, unsigned int rights);

constexpr quint32 infinite = 0xFFFFFFFF;

enum class WaitResult
{
    AllEnded,
    TimedOut,
    Failed
};

/// Waits until all processes have ended, for `timeout` ms at most.
WaitResult WaitForAll(const ProcessList& processes, quint32 timeout);

/// Terminates the process with the given id and exit code 0, if it exists. Does not report the outcome.
void EndById(unsigned long id);

/// Returns the paths of the executable and the loaded libraries, in the order of the loader.
QStringList OwnModules();

/// Starts a program that inherits no descriptor or handle of this process except the standard streams.
bool StartDetached(const QString& program, const QStringList& arguments, const QString& workingDirectory);

/// Writes strings to the debugger that is attached to this process, if any; on Linux, to standard error while
/// the process is traced.
class DebuggerOutput
{
public:
    DebuggerOutput();
    void Write(const QString& text) const;

private:
    bool attached;
};

} // namespace common::processes
