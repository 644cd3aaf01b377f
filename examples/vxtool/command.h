#pragma once

#include <QCommandLineParser>
#include <QString>

#include <functional>
#include <vector>

namespace vxtool
{

using namespace Qt::StringLiterals;

/// Exit code of a command.
enum ExitCode : int
{
    AllValid = 0,   ///< Every input was valid and every job succeeded.
    SomeFailed = 1, ///< Some input was invalid, or a job failed.
    WrongUsage = 2  ///< The command line is invalid.
};

/// Returns AllValid if `allDone` is true, otherwise SomeFailed.
constexpr ExitCode ExitCodeOf(bool allDone)
{
    return allDone ? AllValid : SomeFailed;
}

using Option = QCommandLineOption;
using Options = QList<Option>;
using Run = std::function<int(const QCommandLineParser&)>; ///< Returns an ExitCode.

/// A command with its name, help, options and function.
struct Command
{
    QString name;      ///< One or two words, such as "sip check".
    QString arguments; ///< The arguments as shown in the help, such as "[ID...]".
    QString summary;   ///< One line for the table of commands; at most 52 characters.
    Options options;
    Run run;
    QString details = {};      ///< Further help text; may be empty.
    QString example = {};      ///< A command line; may be empty.
    bool optionsFirst = false; ///< The first argument ends the options, as "--" does.
};

using CommandList = std::vector<Command>;

/// Returns all commands, sorted by name. Creates them on the first call, after all static options have been
/// initialised.
const CommandList& Commands();

/// Adds the commands of a file to the table. Each file with commands defines one static object.
class CommandRegistration
{
public:
    explicit CommandRegistration(CommandList (*makeCommands)());
};

/// Sets the command whose name precedes error messages; null (default) for none.
void SetRunningCommand(const Command* command);

/// Prints `reason` after the name of the running command. Always returns false, for the caller to return.
bool Complain(const QString& reason);

/// Prints `reason` and, after a colon, `problem` if it is not empty. Always returns SomeFailed.
int Fail(const QString& reason, const QString& problem = {});

/// Returns why nothing can be created or removed at `path`; empty if no reason is found.
QString PlaceProblem(const QString& path);
/// Prints why the command line is invalid and how to get help. Always returns WrongUsage.
int FailUsage(const QString& reason);
/// Does the same, but always returns false.
bool Misused(const QString& reason);

/**
 * Writes the library's log lines up to `level` to `file`; "-" is standard output. If `file` is empty, only
 * stores errors for TakeLibraryError.
 *
 * @return false if this build cannot write logs
 */
bool StartLog(const QString& file, int level, bool showSource);

/// Returns and clears the first error line that the library has logged since the last call; empty if there is
/// none. The line names the cause of a failure.
QString TakeLibraryError();

} // namespace vxtool
