#pragma once

#include <common/vxcommon_export.h>

#include <QString>

namespace tools::process
{

/**
 * Finds processes by name and terminates them by id. Any thread may call the functions. Nothing is logged
 * except for one Warn line on a Linux kernel without pidfd.
 *
 * Process ids are of type unsigned long, like a Windows DWORD. Names are those of executables, without a
 * directory; case is ignored. Each search writes the names of the visited processes to the debugger that is
 * attached to this process, if any. On Linux, it writes them to standard error while this process is traced.
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
