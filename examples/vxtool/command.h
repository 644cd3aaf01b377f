#pragma once

#include <QCommandLineParser>
#include <QString>

#include <functional>
#include <vector>

namespace vxtool
{

/// What a command ends the program with.
enum ExitCode : int
{
    AllValid = 0,   ///< Every input was valid, every job done.
    SomeFailed = 1, ///< Some input was not valid, or a job failed.
    WrongUsage = 2  ///< The command line makes no sense.
};

/// The exit code for whether every input was valid, or every job done.
constexpr ExitCode ExitCodeOf(bool allDone)
{
    return allDone ? AllValid : SomeFailed;
}

/// One subcommand: its words, its help, its options and its work.
struct Command
{
    QString name;      ///< One or two words, such as "sip check".
    QString arguments; ///< As shown in the help, such as "[ID...]".
    QString summary;   ///< One line for the table of commands; the first of the command's own help.
    std::function<void(QCommandLineParser&)> addOptions;
    std::function<int(const QCommandLineParser&)> run; ///< Returns an ExitCode.
};

/// All commands, sorted by name.
std::vector<Command>& Commands();

/// Adds commands to the table before main runs: `static const CommandRegistration registration{...};`
class CommandRegistration
{
public:
    CommandRegistration(std::initializer_list<Command> commands);
};

/// Prints why the command line makes no sense and how to learn more; returns WrongUsage.
int FailUsage(const QString& reason, const QString& commandName = QString());

} // namespace vxtool
