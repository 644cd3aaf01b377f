#include "command.h"
#include "input.h"
#include "output.h"

#include <common/shell/prochelper.h>
#include <common/shell/shell.h>

namespace vxtool
{

namespace
{

using common::Shell;
using tools::process::ProcHelper;

const QString directoryOption = QStringLiteral("directory");
const QString timeoutOption = QStringLiteral("timeout");
const QString parentOption = QStringLiteral("parent");

/// Prints what `ask` answers for each name; it is done when each answer is `expected`.
int ForEachName(const QCommandLineParser& parser, const QJsonValue& expected,
                const std::function<QJsonValue(const QString&)>& ask)
{
    RowPrinter printer(parser);
    const bool allDone = ForEachInput(parser.positionalArguments(), [&](const QString& name) {
        const QJsonValue answer = ask(name);
        printer.Print({{QStringLiteral("result"), answer}, {QStringLiteral("name"), name}});
        return answer == expected;
    });
    return ExitCodeOf(allDone);
}

int Exists(const QCommandLineParser& parser)
{
    return ForEachName(parser, true, Shell::ProcessExists);
}

int Kill(const QCommandLineParser& parser)
{
    return ForEachName(parser, 0, Shell::ProcessKill);
}

void AddWaitOptions(QCommandLineParser& parser)
{
    RowPrinter::AddOptions(parser);
    parser.addOption({timeoutOption,
                      QStringLiteral("Give up after MS milliseconds; -1, the default, never does."),
                      QStringLiteral("MS"), QStringLiteral("-1")});
}

int Wait(const QCommandLineParser& parser)
{
    bool isNumber = false;
    const int timeout = parser.value(timeoutOption).toInt(&isNumber);
    if (!isNumber) {
        return FailUsage(QStringLiteral("--timeout takes a number of milliseconds"),
                         QStringLiteral("process wait"));
    }
    return ForEachName(parser, 0,
                       [timeout](const QString& name) { return Shell::ProcessWait(name, timeout); });
}

void AddListOptions(QCommandLineParser& parser)
{
    RowPrinter::AddOptions(parser);
    parser.addOption(
        {parentOption, QStringLiteral("Only among the children of process ID."), QStringLiteral("ID")});
}

int List(const QCommandLineParser& parser)
{
    bool isNumber = true;
    const unsigned long parent =
        parser.isSet(parentOption) ? parser.value(parentOption).toULong(&isNumber) : 0;
    if (!isNumber) {
        return FailUsage(QStringLiteral("--parent takes a process id"), QStringLiteral("process list"));
    }
    RowPrinter printer(parser);
    const bool allFound = ForEachInput(parser.positionalArguments(), [&](const QString& name) {
        const unsigned long id = parser.isSet(parentOption) ? ProcHelper::FindChildProcessId(parent, name)
                                                            : ProcHelper::FindProcessId(name);
        printer.Print({{QStringLiteral("id"), static_cast<qint64>(id)}, {QStringLiteral("name"), name}});
        return id != 0;
    });
    return ExitCodeOf(allFound);
}

int Terminate(const QCommandLineParser& parser)
{
    const bool allAreIds = ForEachInput(parser.positionalArguments(), [](const QString& text) {
        bool isNumber = false;
        const unsigned long id = text.toULong(&isNumber);
        if (!isNumber) {
            PrintError(QStringLiteral("vxtool process terminate: \"%1\" is no process id").arg(text));
        }
        return isNumber && ProcHelper::Terminate(id);
    });
    return ExitCodeOf(allAreIds);
}

int Modules(const QCommandLineParser& parser)
{
    QStringList pieces = parser.positionalArguments();
    if (pieces.isEmpty()) {
        pieces += QString(); // Is part of every path.
    }
    RowPrinter printer(parser);
    for (const QString& piece : pieces) {
        for (const QString& path : Shell::ProcessModules(piece)) {
            printer.Print({{QStringLiteral("file"), path}});
        }
    }
    return AllValid;
}

void AddStartOptions(QCommandLineParser& parser)
{
    parser.addOption({directoryOption, QStringLiteral("Start the program in DIR."), QStringLiteral("DIR")});
    // What stands behind the program belongs to it.
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
}

int Start(const QCommandLineParser& parser)
{
    QStringList arguments = parser.positionalArguments();
    if (arguments.isEmpty()) {
        return FailUsage(QStringLiteral("no program given"), QStringLiteral("start"));
    }
    const QString program = arguments.takeFirst();
    return Shell::ProcessStartDetached(program, arguments, parser.value(directoryOption)) ? AllValid
                                                                                          : SomeFailed;
}

void AddNoOptions(QCommandLineParser& /*parser*/) {}

const CommandRegistration registration{
    {QStringLiteral("process exists"), QStringLiteral("[NAME...]"),
     QStringLiteral("Tell whether processes of a name or image path run."), RowPrinter::AddOptions, Exists},
    {QStringLiteral("process kill"), QStringLiteral("[NAME...]"),
     QStringLiteral("End all processes of a name or image path at once; 0 means done."),
     RowPrinter::AddOptions, Kill},
    {QStringLiteral("process wait"), QStringLiteral("[NAME...]"),
     QStringLiteral("Wait until all processes of a name or image path have ended; 0 means done, 1 time-out."),
     AddWaitOptions, Wait},
    {QStringLiteral("process list"), QStringLiteral("[NAME...]"),
     QStringLiteral("Show the id of the first process of a name; 0 means none."), AddListOptions, List},
    {QStringLiteral("process terminate"), QStringLiteral("[ID...]"), QStringLiteral("End processes by id."),
     AddNoOptions, Terminate},
    {QStringLiteral("modules"), QStringLiteral("[PIECE...]"),
     QStringLiteral("List what is loaded into vxtool and has PIECE in its path."), RowPrinter::AddOptions,
     Modules},
    {QStringLiteral("start"), QStringLiteral("PROGRAM [ARGUMENT...]"),
     QStringLiteral("Start a program that goes on by itself."), AddStartOptions, Start},
};

} // namespace

} // namespace vxtool
