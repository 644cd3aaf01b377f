#include "output.h"
#include "platform.h"
#include "reference.h"

#include <common/logger/logger.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>

namespace vxtool
{

namespace
{

/// Removes the name of a command from the start of `words`. Returns the command; null if there is none.
const Command* TakeCommand(QStringList& words)
{
    for (const Command& command : Commands()) {
        const QStringList name = command.name.split(u' ');
        if (words.mid(0, name.size()) == name) {
            words = words.mid(name.size());
            return &command;
        }
    }
    return nullptr;
}

/// Reports an unknown command and suggests a similar one.
int FailUnknown(const QStringList& words)
{
    const QString group = reference::GroupHelp(words.constFirst());
    if (!group.isEmpty() && words.size() == 1) {
        PrintError(u"vxtool: one of these commands is needed:\n"_s + group);
        return WrongUsage;
    }
    const QString unknown = words.mid(0, group.isEmpty() ? 1 : 2).join(u' ');
    QStringList names;
    for (const Command& command : Commands()) {
        names += command.name;
    }
    QString meant = reference::ClosestTo(unknown, names);
    if (meant.isEmpty()) {
        meant = reference::ClosestTo(words.mid(0, 2).join(u' '), names);
    }
    return FailUsage(u"unknown command: %1."_s.arg(unknown) +
                     (meant.isEmpty() ? QString() : u" Did you mean %1?"_s.arg(meant)));
}

int ShowHelp(QStringList words)
{
    if (words.isEmpty()) {
        PrintLine(reference::MainHelp());
        return AllValid;
    }
    const QString group = words.size() == 1 ? reference::GroupHelp(words.constFirst()) : QString();
    const QStringList given = words;
    const Command* const command = TakeCommand(words);
    if (command == nullptr && group.isEmpty()) {
        return FailUnknown(given);
    }
    PrintLine(command != nullptr ? reference::CommandHelp(*command) : group);
    return AllValid;
}

/// Reports an option that `command` does not have, and suggests a similar one.
int FailOption(const QCommandLineParser& parser, const Command& command)
{
    QStringList names;
    for (const Option& option : command.options + reference::GlobalOptions()) {
        names += option.names();
    }
    const QStringList unknown = parser.unknownOptionNames();
    const QString meant = unknown.isEmpty() ? QString() : reference::ClosestTo(unknown.constFirst(), names);
    return FailUsage(parser.errorText() +
                     (meant.isEmpty() ? QString() : u" Did you mean --%1?"_s.arg(meant)));
}

/// Starts the log as the options specify. Returns AllValid, or the exit code of the failure.
int StartLogOf(const QCommandLineParser& parser)
{
    const QString path = parser.value(u"log"_s);
    bool ok = false;
    const int level = parser.value(u"log-level"_s).toInt(&ok);
    if (!ok || level < common::logger::Fatal || level > common::logger::Debug) {
        return FailUsage(u"--log-level takes a number from 0 to 7"_s);
    }
    if (path.isEmpty() &&
        (parser.isSet(u"log"_s) || parser.isSet(u"log-level"_s) || parser.isSet(u"log-source"_s))) {
        return FailUsage(u"the log options require --log FILE"_s);
    }
    // Open the file first: log4cpp ignores a file that it cannot open, and creates files that other users can
    // read. Logged URLs may contain passwords.
    QFile file(path);
    if (!path.isEmpty() && path != "-"_L1 &&
        !file.open(QIODevice::Append, QFile::ReadOwner | QFile::WriteOwner)) {
        return Fail(u"cannot write the log %1: %2"_s.arg(path, file.errorString()));
    }
    return StartLog(path, level, parser.isSet(u"log-source"_s))
               ? AllValid
               : FailUsage(u"this build has no log4cpp, so --log is not available"_s);
}

/// Runs `command`. On the command line, `options` precede its name and `words` follow it.
int RunCommand(const Command& command, const QStringList& options, const QStringList& words)
{
    SetRunningCommand(&command);
    QCommandLineParser parser;
    parser.addOptions(reference::GlobalOptions() + command.options);
    if (command.optionsFirst) {
        parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    }
    if (!parser.parse(options + words)) {
        return FailOption(parser, command);
    }
    if (parser.isSet(u"help"_s)) {
        PrintLine(reference::CommandHelp(command));
        return AllValid;
    }
    SetQuiet(parser.isSet(u"quiet"_s));
    const int problem = StartLogOf(parser);
    if (problem != AllValid) {
        return problem;
    }
    LOG_MESSAGE(common::logger::Info) << "command " << command.name << " begins";
    const int exitCode = command.run(parser);
    LOG_MESSAGE(common::logger::Info) << "command " << command.name << " ends with exit code " << exitCode;
    return exitCode;
}

/// Runs the command line. The first of `arguments` is the program name.
int RunProgram(const QStringList& arguments)
{
    // Never parse options after --callto: the rest of the command line comes from a link.
    if (arguments.value(1) == "--callto"_L1) {
        PrintLine(arguments.mid(1).join(u' '));
        return AllValid;
    }
    QCommandLineParser parser;
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    parser.addOptions(reference::GlobalOptions() + reference::ProgramOptions());
    if (!parser.parse(arguments)) {
        return FailUsage(parser.errorText());
    }
    if (parser.isSet(u"version"_s)) {
        PrintLine(u"vxtool "_s + QCoreApplication::applicationVersion());
        return AllValid;
    }
    QStringList words = parser.positionalArguments();
    const QStringList options = arguments.mid(0, arguments.size() - words.size());
    const QString first = words.value(0);
    if (parser.isSet(u"help"_s) || first == "help"_L1) {
        return ShowHelp(words.mid(first == "help"_L1 ? 1 : 0));
    }
    if (words.isEmpty()) {
        return FailUsage(u"a command is needed"_s);
    }
    if (first == "reference"_L1) { // Undocumented: only the build uses it.
        PrintBytes(reference::Page(words.value(1), words.value(2)).toUtf8());
        return AllValid;
    }
    const Command* const command = TakeCommand(words);
    if (command != nullptr) {
        return RunCommand(*command, options, words);
    }
    if (words.contains(u"--help"_s) || words.contains(u"-h"_s)) {
        return ShowHelp(words.mid(0, 1));
    }
    return FailUnknown(words);
}

} // namespace

} // namespace vxtool

int main(int argc, char* argv[])
{
    namespace platform = vxtool::platform;
    platform::PrepareStandardStreams();
    // Qt receives only the program name, so that it does not treat any argument as its own option.
    int nameOnly = 1;
    const QCoreApplication application(nameOnly, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vxtool"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VXCOMMON_VERSION));
    const QStringList arguments = QStringList(QStringLiteral("vxtool")) + platform::Arguments(argc, argv);
    return platform::EndAfterInterrupt(vxtool::FinishOutput(vxtool::RunProgram(arguments)));
}
