#include "binarystdio.h"
#include "command.h"
#include "logsetup.h"
#include "output.h"

#include <common/logger/logger.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>

#include <algorithm>

namespace vxtool
{

namespace
{

const QString logOption = QStringLiteral("log");
const QString logLevelOption = QStringLiteral("log-level");
const QString logSourceOption = QStringLiteral("log-source");
const QString helpOption = QStringLiteral("help");
const QString versionOption = QStringLiteral("version");
const QString callOption = QStringLiteral("callto");

/// The options that stand before or behind any command.
void AddGlobalOptions(QCommandLineParser& parser)
{
    parser.addOption(
        {logOption,
         QStringLiteral("Write a log to FILE, which only you can read; rolled over at 10 MiB, 3 backups."),
         QStringLiteral("FILE")});
    parser.addOption({logLevelOption,
                      QStringLiteral("Log up to level N, from 0 (fatal) to 7 (debug); 6 if not given."),
                      QStringLiteral("N"), QStringLiteral("6")});
    parser.addOption({logSourceOption, QStringLiteral("Show the source location of each log line.")});
    parser.addOption({{QStringLiteral("h"), helpOption}, QStringLiteral("Show this help.")});
}

/// One line for each command whose name begins with `prefix`.
QString CommandTable(const QString& prefix = QString())
{
    qsizetype width = 0;
    for (const Command& command : Commands()) {
        width = std::max(width, command.name.size());
    }
    QString text;
    for (const Command& command : Commands()) {
        if (command.name.startsWith(prefix)) {
            text += QStringLiteral("  %1%2\n").arg(command.name.leftJustified(width + 2), command.summary);
        }
    }
    return text;
}

QString MainHelp(const QCommandLineParser& globalParser)
{
    QString text =
        QStringLiteral("Usage: vxtool [options] COMMAND [options] [ARGUMENT...]\n\n"
                       "The abilities of the vxcommon library on the command line.\n"
                       "Without arguments a command reads lines from standard input.\n\nCommands:\n") +
        CommandTable();
    const QString parserHelp = globalParser.helpText();
    text += u'\n' + parserHelp.mid(parserHelp.indexOf(QLatin1String("Options:")));
    text += QStringLiteral("\nExit code: 0 if all inputs were valid, 1 if some were not, 2 for wrong usage.\n"
                           "'vxtool COMMAND --help' tells more about a command.");
    return text;
}

/// Finds the command that `words` begin with and removes its name from them; null if there is none.
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

/// Starts logging if the options ask for it; returns why they make no sense, or an empty text.
QString StartLog(const QCommandLineParser& parser)
{
    bool ok = false;
    LogOptions options;
    options.file = parser.value(logOption);
    options.level = parser.value(logLevelOption).toInt(&ok);
    options.source = parser.isSet(logSourceOption);
    if (!ok || options.level < common::logger::Fatal || options.level > common::logger::Debug) {
        return QStringLiteral("--log-level takes a number from 0 to 7");
    }
    if (options.file.isEmpty()) {
        const bool pointless = options.source || parser.isSet(logLevelOption) || parser.isSet(logOption);
        return pointless ? QStringLiteral("a log needs a file: --log FILE") : QString();
    }
    // log4cpp ignores a file that it cannot open, and creates one that others can read. URLs hold passwords.
    QFile file(options.file);
    if (!file.open(QIODevice::Append, QFile::ReadOwner | QFile::WriteOwner)) {
        return QStringLiteral("the log %1 cannot be written: %2").arg(options.file, file.errorString());
    }
    return SetUpLog(options) ? QString()
                             : QStringLiteral("this build has no log4cpp, so --log is not available");
}

/// Runs `command`; `leading` is the program and the options before the command's name, `words` what stands
/// behind it.
int RunCommand(const Command& command, const QStringList& leading, const QStringList& words)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(command.summary);
    AddGlobalOptions(parser);
    command.addOptions(parser);
    if (!parser.parse(leading + words)) {
        return FailUsage(parser.errorText(), command.name);
    }
    if (parser.isSet(helpOption)) {
        const QString help = parser.helpText();
        PrintLine(QStringLiteral("Usage: vxtool %1 [options] %2\n").arg(command.name, command.arguments) +
                  help.mid(help.indexOf(u'\n') + 1).trimmed());
        return AllValid;
    }
    const QString complaint = StartLog(parser);
    if (!complaint.isEmpty()) {
        return FailUsage(complaint, command.name);
    }
    LOG_MESSAGE(common::logger::Info) << "command " << command.name << " begins";
    const int exitCode = command.run(parser);
    LOG_MESSAGE(common::logger::Info) << "command " << command.name << " ends with exit code " << exitCode;
    return exitCode;
}

int Run(const QStringList& arguments)
{
    QCommandLineParser globalParser;
    globalParser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    AddGlobalOptions(globalParser);
    globalParser.addOption({{QStringLiteral("v"), versionOption}, QStringLiteral("Show the version.")});
    globalParser.addOption({callOption,
                            QStringLiteral("Show ADDRESS and end. So does a click on an address whose scheme "
                                           "was registered by 'protocols register'."),
                            QStringLiteral("ADDRESS")});
    if (!globalParser.parse(arguments)) {
        return FailUsage(globalParser.errorText());
    }
    if (globalParser.isSet(helpOption)) {
        PrintLine(MainHelp(globalParser));
        return AllValid;
    }
    if (globalParser.isSet(versionOption)) {
        PrintLine(QStringLiteral("vxtool ") + QCoreApplication::applicationVersion());
        return AllValid;
    }
    if (globalParser.isSet(callOption)) {
        PrintLine(QStringLiteral("--callto ") + globalParser.value(callOption));
        return AllValid;
    }

    QStringList words = globalParser.positionalArguments();
    if (words.isEmpty()) {
        return FailUsage(QStringLiteral("no command given"));
    }
    const Command* command = TakeCommand(words);
    if (command == nullptr) {
        const QString group = CommandTable(words.constFirst() + u' ');
        if (!group.isEmpty() &&
            (words.contains(QStringLiteral("--help")) || words.contains(QStringLiteral("-h")))) {
            PrintLine(QStringLiteral("The commands of \"%1\":\n").arg(words.constFirst()) + group.chopped(1));
            return AllValid;
        }
        return FailUsage(QStringLiteral("unknown command \"%1\"").arg(words.mid(0, 2).join(u' ')));
    }

    return RunCommand(*command,
                      arguments.mid(0, arguments.size() - globalParser.positionalArguments().size()), words);
}

} // namespace

} // namespace vxtool

int main(int argc, char* argv[])
{
    vxtool::UseBinaryStdio();
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vxtool"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VXCOMMON_VERSION));
    return vxtool::FinishOutput(vxtool::Run(QCoreApplication::arguments()));
}
