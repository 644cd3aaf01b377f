#include <common/shell/prochelper.h>

#include "processes.h"

namespace tools::process
{

namespace
{

namespace processes = common::processes;

unsigned long Find(const QString& name, const std::function<bool(const processes::Entry&)>& accepts)
{
    const processes::DebuggerOutput debugger;
    unsigned long id = 0;
    processes::ForEach([&](const processes::Entry& entry) {
        // Kept for compatibility: the search writes the name of each visited process to the debugger.
        debugger.Write(entry.executableName + QLatin1String("\r\n"));
        // A new process may not have a name yet, so an empty search name must not match it.
        if (!name.isEmpty() && entry.executableName.compare(name, Qt::CaseInsensitive) == 0 &&
            accepts(entry)) {
            id = entry.id;
        }
        return id == 0;
    });
    return id;
}

} // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): the public interface takes strings by value.
unsigned long ProcHelper::FindProcessId(QString name)
{
    return Find(name, [](const processes::Entry&) { return true; });
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
unsigned long ProcHelper::FindChildProcessId(unsigned long parentId, QString name)
{
    return Find(name,
                [parentId](const processes::Entry& entry) { return processes::ParentOf(entry) == parentId; });
}

bool ProcHelper::Terminate(unsigned long processId)
{
    processes::EndById(processId);
    return true;
}

} // namespace tools::process
