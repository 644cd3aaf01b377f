#include "command.h"
#include "desktopsession.h"
#include "input.h"
#include "output.h"

#include <common/shell/shell.h>

namespace vxtool
{

namespace
{

using common::Shell;

const QString directoryOption = QStringLiteral("directory");
const QString argumentsOption = QStringLiteral("arguments");
const QString descriptionOption = QStringLiteral("description");
const QString applicationIdOption = QStringLiteral("app-id");
const QString tolerateOption = QStringLiteral("tolerate");
const QString filterOption = QStringLiteral("filter");
const QString adminOption = QStringLiteral("admin");

int Paths(const QCommandLineParser& parser)
{
    RowPrinter printer(parser);
    const auto print = [&printer](const char* name, const QJsonValue& value) {
        printer.Print(
            {{QStringLiteral("name"), QString::fromLatin1(name)}, {QStringLiteral("value"), value}});
    };
    print("AppPath", Shell::AppPath());
    print("DesktopPath", Shell::DesktopPath());
    print("StartMenuPath", Shell::StartMenuPath());
    print("QuickLaunchPath", Shell::QuickLaunchPath());
    print("IsQuickLaunchAvailable", Shell::IsQuickLaunchAvailable());
    print("TempPath", Shell::TempPath());
    print("applicationDirPath", Shell::applicationDirPath());
    print("LocaleName", Shell::LocaleName());
    print("Is64BitSystem", Shell::Is64BitSystem());
    return AllValid;
}

int Show(const QCommandLineParser& parser)
{
    const DesktopSession session;
    return ExitCodeOf(ForEachInput(parser.positionalArguments(), Shell::ShowFile));
}

void AddShortcutOptions(QCommandLineParser& parser)
{
    parser.addOption({directoryOption, QStringLiteral("Start the program in DIR."), QStringLiteral("DIR")});
    parser.addOption(
        {argumentsOption, QStringLiteral("Command line arguments, as one text."), QStringLiteral("TEXT")});
    parser.addOption({descriptionOption, QStringLiteral("Description."), QStringLiteral("TEXT")});
    parser.addOption({applicationIdOption,
                      QStringLiteral("Application user model id; on Linux StartupWMClass."),
                      QStringLiteral("ID")});
}

int Shortcut(const QCommandLineParser& parser)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2) {
        return FailUsage(QStringLiteral("a target and the file of the shortcut are needed"),
                         QStringLiteral("shortcut"));
    }
    const DesktopSession session;
    return ExitCodeOf(Shell::CreateShortcut(
        arguments.at(0), parser.value(directoryOption), parser.value(argumentsOption), arguments.at(1),
        parser.value(descriptionOption), parser.value(applicationIdOption)));
}

int RemoveAfterExit(const QCommandLineParser& parser)
{
    return ExitCodeOf(ForEachInput(parser.positionalArguments(), Shell::RemoveAfterExit));
}

void AddCopyOptions(QCommandLineParser& parser)
{
    parser.addOption(
        {tolerateOption, QStringLiteral("Pass over files of the first level that cannot be copied.")});
}

int CopyDir(const QCommandLineParser& parser)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2) {
        return FailUsage(QStringLiteral("a source and a destination are needed"), QStringLiteral("copydir"));
    }
    return ExitCodeOf(Shell::CopyDir(arguments.at(0), arguments.at(1), QDir::Dirs | QDir::NoDotAndDotDot,
                                     parser.isSet(tolerateOption)));
}

int MoveDir(const QCommandLineParser& parser)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2) {
        return FailUsage(QStringLiteral("a source and a destination are needed"), QStringLiteral("movedir"));
    }
    return ExitCodeOf(Shell::MoveDir(arguments.at(0), arguments.at(1)));
}

void AddScanOptions(QCommandLineParser& parser)
{
    RowPrinter::AddOptions(parser);
    parser.addOption({filterOption,
                      QStringLiteral("Only names that match PATTERN, also those of directories; repeatable."),
                      QStringLiteral("PATTERN")});
}

int Scan(const QCommandLineParser& parser)
{
    RowPrinter printer(parser);
    return ExitCodeOf(ForEachInput(parser.positionalArguments(), [&](const QString& path) {
        for (const QString& file : Shell::ScanFiles(path, parser.values(filterOption))) {
            printer.Print({{QStringLiteral("file"), file}});
        }
        return true;
    }));
}

void AddComponentOptions(QCommandLineParser& parser)
{
    RowPrinter::AddOptions(parser);
    parser.addOption({adminOption, QStringLiteral("For all users, not for the current one only.")});
}

/// Runs `call` for each library and prints what it answered.
int RunComponents(const QCommandLineParser& parser, unsigned long (*call)(const QString&, bool))
{
    RowPrinter printer(parser);
    return ExitCodeOf(ForEachInput(parser.positionalArguments(), [&](const QString& path) {
        constexpr int base = 16;
        const unsigned long result = call(path, parser.isSet(adminOption));
        printer.Print({{QStringLiteral("result"), QStringLiteral("0x") + QString::number(result, base)},
                       {QStringLiteral("file"), path}});
        return result == 0;
    }));
}

int Register(const QCommandLineParser& parser)
{
    return RunComponents(parser, Shell::RegisterComponent);
}

int Unregister(const QCommandLineParser& parser)
{
    return RunComponents(parser, Shell::UnregisterComponent);
}

void AddNoOptions(QCommandLineParser& /*parser*/) {}

const CommandRegistration registration{
    {QStringLiteral("paths"), QString(),
     QStringLiteral("Show the well-known folders and what else the desktop tells."), RowPrinter::AddOptions,
     Paths},
    {QStringLiteral("show"), QStringLiteral("[FILE...]"),
     QStringLiteral("Open the file manager with a file selected."), AddNoOptions, Show},
    {QStringLiteral("shortcut"), QStringLiteral("TARGET FILE"),
     QStringLiteral("Write a shortcut: FILE is a shell link on Windows, a desktop entry on Linux."),
     AddShortcutOptions, Shortcut},
    {QStringLiteral("removeafterexit"), QStringLiteral("[DIR...]"),
     QStringLiteral("Start the removal of directories that goes on when vxtool has ended."), AddNoOptions,
     RemoveAfterExit},
    {QStringLiteral("copydir"), QStringLiteral("SOURCE DESTINATION"),
     QStringLiteral("Copy a tree of directories."), AddCopyOptions, CopyDir},
    {QStringLiteral("movedir"), QStringLiteral("SOURCE DESTINATION"), QStringLiteral("Move a directory."),
     AddNoOptions, MoveDir},
    {QStringLiteral("scan"), QStringLiteral("[DIR...]"), QStringLiteral("List all files below directories."),
     AddScanOptions, Scan},
    {QStringLiteral("component register"), QStringLiteral("[LIBRARY...]"),
     QStringLiteral("Let component libraries register themselves."), AddComponentOptions, Register},
    {QStringLiteral("component unregister"), QStringLiteral("[LIBRARY...]"),
     QStringLiteral("Let component libraries take their registration back."), AddComponentOptions,
     Unregister},
};

} // namespace

} // namespace vxtool
