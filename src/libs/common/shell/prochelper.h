#pragma once

#include <common/vxcommon_export.h>

#include <QString>

namespace tools::process
{

/**
 * Finds and terminates processes by id. Any thread may call. Logs nothing.
 *
 * Process ids have the width of a Windows DWORD. Names are those of executables, without a directory; case is
 * ignored. Each search writes the names of the processes it visits to an attached debugger (on Linux, to
 * standard error).
 */
class VXCOMMON_EXPORT ProcHelper
{
public:
    ProcHelper() = delete;

    /// Returns the id of the first process with this executable name; 0 if there is none.
    static unsigned long FindProcessId(QString name);

    /// Returns the id of the first process with this executable name and this parent; 0 if there is none.
    static unsigned long FindChildProcessId(unsigned long parentId, QString name);

    /**
     * Terminates a process immediately, by TerminateProcess with exit code 0, or SIGKILL on Linux. On Linux,
     * ignores 0, 1 and ids too large for a process.
     *
     * @return true, even if there is no such process or it cannot be terminated
     */
    static bool Terminate(unsigned long processId);
};

} // namespace tools::process
