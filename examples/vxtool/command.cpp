#include "command.h"

#include "output.h"

#include <algorithm>

namespace vxtool
{

std::vector<Command>& Commands()
{
    static std::vector<Command> commands;
    return commands;
}

CommandRegistration::CommandRegistration(std::initializer_list<Command> commands)
{
    auto& all = Commands();
    all.insert(all.end(), commands);
    std::sort(all.begin(), all.end(), [](const Command& a, const Command& b) { return a.name < b.name; });
}

int FailUsage(const QString& reason, const QString& commandName)
{
    const QString subject = commandName.isEmpty() ? QString() : u' ' + commandName;
    PrintError(QStringLiteral("vxtool%1: %2\nTry 'vxtool%1 --help'.").arg(subject, reason));
    return WrongUsage;
}

} // namespace vxtool
