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
    AllValid = 0,   ///< Every input was valid, every job done.
    SomeFailed = 1, ///< Some input was not valid, or a job failed.
    WrongUsage = 2  ///< The command line makes no sense.
};

/// Returns the exit code for whether every input was valid, or every job done.
constexpr ExitCode ExitCodeOf(bool allDone)
{
    return allDone ? AllValid : SomeFailed;
}

using Option = QCommandLineOption;
using Options = QList<Option>;
using Run = std::function<int(const QCommandLineParser&)>; ///< Returns an ExitCode.

/// One command: its words, its help, its options and its work.
struct Command
{
    QString name;      ///< One or two words, such as "sip check".
    QString arguments; ///< As shown in the help, such as "[ID...]".
    QString summary;   ///< One line for the table of commands: 52 characters at most.
    Options options;
    Run run;
    QString details = {};      ///< What the summary leaves out; may be empty.
    QString example = {};      ///< A command line; may be empty.
    bool optionsFirst = false; ///< Everything from the first argument on is data, whatever it looks like.
};

using CommandList = std::vector<Command>;

/// Returns all commands, sorted by name. The first call creates them, when the options of all files exist.
const CommandList& Commands();

/// Adds a file's commands to the table: `const CommandRegistration registration([] { return CommandList{...};
/// });`
class CommandRegistration
{
public:
    explicit CommandRegistration(CommandList (*makeCommands)());
};

/// Sets the command with whose name complaints begin; null (default) for none.
void SetRunningCommand(const Command* command);

/// Prints `reason` after the name of the running command. Returns false, for handlers of single inputs.
bool Complain(const QString& reason);

/// Prints `reason` and, after a colon, `problem` if it is not empty. Returns SomeFailed.
int Fail(const QString& reason, const QString& problem = {});

/// Returns why nothing can be created or removed at `path`, as far as the file system shows it.
QString PlaceProblem(const QString& path);
/// Prints why the command line is invalid and how to get help. Returns WrongUsage.
int FailUsage(const QString& reason);

/**
 * Writes the library's log to `file` ("-" is standard output), up to `level`; without a file, keeps only
 * what TakeLibraryError returns.
 *
 * @return false if this build cannot write logs
 */
bool StartLog(const QString& file, int level, bool showSource);

/// Returns and clears the first error line that the library has logged since the last call, which names the
/// cause. Empty if there is none.
QString TakeLibraryError();

} // namespace vxtool
