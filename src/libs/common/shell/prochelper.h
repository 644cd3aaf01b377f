#pragma once

#include <common/vxcommon_export.h>

#include <QString>

namespace tools::process
{

/**
 * Finds and ends processes by id.
 *
 * Process ids have the width of a Windows DWORD. Names are those of executables, without a directory, and
 * ignore case. Any thread may call; nothing is logged, but the names of the processes that a search passes
 * go to an attached debugger (standard error on Linux).
 */
class VXCOMMON_EXPORT ProcHelper
{
public:
    ProcHelper() = delete;

    /// Id of the first process with this executable name; 0 if there is none.
    static unsigned long FindProcessId(QString name);

    /// Id of the first process with this executable name that `parentId` has started; 0 if there is none.
    static unsigned long FindChildProcessId(unsigned long parentId, QString name);

    /**
     * Ends a process at once: TerminateProcess with exit code 0 on Windows, SIGKILL on Linux. There, ids that
     * mean no single process (0, 1 and what does not fit a pid) are ignored.
     *
     * @return always true, also if there is no such process or it may not be ended
     */
    static bool Terminate(unsigned long processId);
};

} // namespace tools::process
