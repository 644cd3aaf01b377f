#include "command.h"
#include "input.h"
#include "output.h"
#include "platform.h"

#include <common/shell/prochelper.h>
#include <common/shell/shell.h>

#include <QFileInfo>
#include <QStandardPaths>

namespace vxtool
{

namespace
{

using common::Shell;
using tools::process::ProcHelper;

const Option directoryOption{u"directory"_s, u"Start the program in DIR."_s, u"DIR"_s};
const Option timeoutOption{u"timeout"_s, u"Seconds to wait (default: no limit)."_s, u"S"_s};
const Option parentOption{u"parent"_s, u"Search only among the children of process ID."_s, u"ID"_s};

/// Returns a command that prints the result of `query` for each name. Succeeds if every result is `expected`.
Run QueryNames(const QJsonValue& expected, const std::function<QJsonValue(const QString&)>& query)
{
    return PrintRows(
        [query](const QString& name) {
            return Row{{u"result"_s, query(name)}, {u"name"_s, name}};
        },
        expected);
}

int Wait(const QCommandLineParser& parser)
{
    double seconds = -1;
    if (!ReadSeconds(parser, timeoutOption, seconds)) {
        return WrongUsage;
    }
    const int timeout = seconds < 0 ? -1 : static_cast<int>(seconds * 1000);
    return QueryNames(0,
                      [timeout](const QString& name) { return Shell::ProcessWait(name, timeout); })(parser);
}

int List(const QCommandLineParser& parser)
{
    bool isNumber = true;
    const unsigned long parent =
        parser.isSet(parentOption) ? parser.value(parentOption).toULong(&isNumber) : 0;
    if (!isNumber) {
        return FailUsage(u"--parent takes a process id"_s);
    }
    RowPrinter printer(parser);
    return ExitCodeOf(ForEachInput(parser.positionalArguments(), [&](const QString& name) {
        const unsigned long id = parser.isSet(parentOption) ? ProcHelper::FindChildProcessId(parent, name)
                                                            : ProcHelper::FindProcessId(name);
        printer.Print({{u"id"_s, static_cast<qint64>(id)}, {u"name"_s, name}});
        return id != 0;
    }));
}

int Terminate(const QCommandLineParser& parser)
{
    return ExitCodeOf(ForEachInput(parser.positionalArguments(), [](const QString& text) {
        bool isNumber = false;
        const unsigned long id = text.toULong(&isNumber);
        const QString problem = isNumber ? platform::TerminationProblem(id) : u"not a process id"_s;
        return problem.isEmpty() ? ProcHelper::Terminate(id)
                                 : Complain(u"cannot end process %1: %2"_s.arg(text, problem));
    }));
}

int Modules(const QCommandLineParser& parser)
{
    QStringList pieces = parser.positionalArguments();
    if (pieces.isEmpty()) {
        pieces += QString(); // Every path contains the empty string.
    }
    RowPrinter printer(parser);
    for (const QString& piece : pieces) {
        for (const QString& path : Shell::ProcessModules(piece)) {
            printer.Print({{u"file"_s, path}});
        }
    }
    return AllValid;
}

QString StartProblem(const QString& program, const QString& directory)
{
    if (!directory.isEmpty() && !QFileInfo(directory).isDir()) {
        return u"\"%1\" is not a directory"_s.arg(directory);
    }
    const bool isPath = program.contains(u'/');
    if (isPath ? !QFileInfo::exists(program) : QStandardPaths::findExecutable(program).isEmpty()) {
        return u"no such program"_s;
    }
    return u"it is not executable"_s;
}

int Start(const QCommandLineParser& parser)
{
    QStringList arguments = parser.positionalArguments();
    if (arguments.isEmpty()) {
        return FailUsage(u"a program is needed"_s);
    }
    const QString program = arguments.takeFirst();
    const QString directory = parser.value(directoryOption);
    return Shell::ProcessStartDetached(program, arguments, directory)
               ? AllValid
               : Fail(u"cannot start \"%1\": %2"_s.arg(program, StartProblem(program, directory)));
}

const CommandRegistration registration([] {
    return CommandList{
        {u"process exists"_s, u"[NAME...]"_s, u"Check whether processes are running."_s,
         RowPrinter::Options(), QueryNames(true, Shell::ProcessExists),
         u"NAME is the name or the path of an executable."_s},
        {u"process kill"_s, u"[NAME...]"_s, u"Terminate all processes with a given name or path."_s,
         RowPrinter::Options(), QueryNames(0, Shell::ProcessKill),
         u"Prints 0 if all that could be opened were terminated, otherwise -1."_s},
        {u"process wait"_s, u"[NAME...]"_s, u"Wait for all processes with a given name to end."_s,
         RowPrinter::Options({timeoutOption}), Wait,
         u"Prints 0 if all have ended, 1 after a timeout, -1 on failure."_s,
         u"vxtool process wait --timeout 2.5 vexline"_s},
        {u"process list"_s, u"[NAME...]"_s, u"Show the id of the first process with a given name."_s,
         RowPrinter::Options({parentOption}), List, u"Prints 0 if there is none."_s},
        {u"process terminate"_s, u"[ID...]"_s, u"Terminate processes by id."_s, {}, Terminate},
        {u"modules"_s, u"[PIECE...]"_s, u"List the libraries that vxtool has loaded."_s,
         RowPrinter::Options(), Modules, u"With arguments, lists only paths that contain one of them."_s},
        {u"start"_s,
         u"PROGRAM [ARGUMENT...]"_s,
         u"Start a program that outlives vxtool."_s,
         {directoryOption},
         Start,
         u"Options after PROGRAM are passed to it."_s,
         QString(),
         true},
    };
});

} // namespace

} // namespace vxtool
