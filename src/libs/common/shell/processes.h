#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

/// What a system must deliver to find, wait for, end and start processes.
namespace common::processes
{

/// A process as it is met on a walk over all of them; it may be gone a moment later.
struct Entry
{
    unsigned long id;
    QString executableName; ///< Base name of its image.
    unsigned long parentId; ///< 0 if it is not known yet; see ParentOf.
};

/// Returns the id of the parent process; 0 if it is unknown. Costs a system call on Linux.
unsigned long ParentOf(const Entry& entry);

/// Calls `visit` for each process that runs until it returns false. Visits none if there is no way to look.
void ForEach(const std::function<bool(const Entry&)>& visit);

/// What an open process is needed for, besides waiting for its end; bits.
enum Right : unsigned int
{
    OnlyWait = 0,
    ReadImage = 1,
    Terminate = 2
};

/// A process that stays the same one, even if its id is given to another.
class Process
{
public:
    virtual ~Process() = default;

    /// Full native path of the image; empty if it cannot be told. Needs ReadImage.
    virtual QString ImagePath() const = 0;

    /// Ends the process at once, unasked. Needs the right Terminate.
    virtual bool End(unsigned int exitCode) = 0;

protected:
    Process() = default;

private:
    Q_DISABLE_COPY(Process)
};

using ProcessList = std::vector<std::unique_ptr<Process>>;

/// Null if the process has ended, or the system does not let this user have these rights.
std::unique_ptr<Process> Open(const Entry& entry, unsigned int rights);

constexpr quint32 infinite = 0xFFFFFFFF;

enum class WaitResult
{
    AllEnded,
    TimedOut,
    Failed
};

/// Waits until all processes have ended, for `timeout` ms at the most.
WaitResult WaitForAll(const ProcessList& processes, quint32 timeout);

/// Ends the process with this id with exit code 0, if there is one; nothing is told of the outcome.
void EndById(unsigned long id);

/// Paths of what is loaded into this process, in the order in which the loader has them.
QStringList OwnModules();

/// Starts a program that gets no descriptor or handle of this process but the standard streams.
bool StartDetached(const QString& program, const QStringList& arguments, const QString& workingDirectory);

/// The debugger that may be attached to this process.
class DebuggerOutput
{
public:
    DebuggerOutput();
    void Write(const QString& text) const;

private:
    bool attached;
};

} // namespace common::processes
