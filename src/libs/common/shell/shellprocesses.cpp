#include <common/shell/shell.h>

#include "processes.h"

#include <QFileInfo>

namespace common
{

namespace
{

/// Maximum number of processes in one wait on Windows. Both platforms ignore additional processes.
constexpr std::size_t maxProcesses = 64;

bool EqualsIgnoringCase(const QString& a, const QString& b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

/// Opens the processes whose executable name is `name` or, if `name` has a directory, whose image has that
/// path. Ignores processes that cannot be opened.
processes::ProcessList OpenProcessesByName(const QString& name, std::size_t capacity, unsigned int rights)
{
    processes::ProcessList found;
    if (name.isEmpty()) {
        return found;
    }
    const QString native = QDir::toNativeSeparators(name);
    const bool byPath = QFileInfo(native).fileName() != native;
    if (byPath) {
        rights |= processes::ReadImage;
    }
    processes::ForEach([&](const processes::Entry& entry) {
        if (byPath || EqualsIgnoringCase(entry.executableName, native)) {
            auto process = processes::Open(entry, rights);
            if (process != nullptr && (!byPath || EqualsIgnoringCase(process->ImagePath(), native))) {
                found.push_back(std::move(process));
            }
        }
        return found.size() < capacity;
    });
    return found;
}

} // namespace

bool Shell::ProcessExists(const QString& name)
{
    return !OpenProcessesByName(name, 1, processes::OnlyWait).empty();
}

int Shell::ProcessKill(const QString& name)
{
    bool allEnded = true;
    for (const auto& process : OpenProcessesByName(name, maxProcesses, processes::Terminate)) {
        allEnded = process->End() && allEnded;
    }
    return allEnded ? 0 : -1;
}

int Shell::ProcessWait(const QString& name, int timeout)
{
    const processes::ProcessList found = OpenProcessesByName(name, maxProcesses, processes::OnlyWait);
    if (found.empty()) {
        return 0;
    }
    switch (processes::WaitForAll(found, static_cast<quint32>(timeout))) {
    case processes::WaitResult::AllEnded:
        return 0;
    case processes::WaitResult::TimedOut:
        return 1;
    case processes::WaitResult::Failed:
        break;
    }
    return -1;
}

QStringList Shell::ProcessModules(const QString& name)
{
    return processes::OwnModules().filter(QDir::toNativeSeparators(name), Qt::CaseSensitive);
}

bool Shell::ProcessStartDetached(const QString& program, const QStringList& arguments,
                                 const QString& workingDirectory)
{
    return processes::StartDetached(program, arguments, workingDirectory);
}

} // namespace common
