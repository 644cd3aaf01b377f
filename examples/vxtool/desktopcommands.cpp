#include "command.h"
#include "input.h"
#include "output.h"
#include "platform.h"

#include <common/chrome/pluginutils.h>
#include <common/clicktocall/clicktocall.h>
#include <common/shell/devinfo.h>
#include <common/shell/shell.h>
#include <common/tools/audiodevicetools.h>
#include <common/tools/keyboard.h>

#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>

namespace vxtool
{

namespace
{

using common::ClickToCall;
using common::Shell;
using common::chrome::PluginUtils;

const Option directoryOption{u"directory"_s, u"Start the program in DIR."_s, u"DIR"_s};
const Option argumentsOption{u"arguments"_s, u"Command-line arguments, as one string."_s, u"TEXT"_s};
const Option descriptionOption{u"description"_s, u"Tool tip."_s, u"TEXT"_s};
const Option applicationIdOption{u"app-id"_s, u"Application user model id; StartupWMClass on Linux."_s,
                                 u"ID"_s};
const Option adminOption{u"admin"_s, u"Register for all users, not only for the current one."_s};
const Option applicationOption{u"application"_s, u"Name of the application (default: vxtool)."_s, u"NAME"_s,
                               u"vxtool"_s};
const Option organizationOption{u"organization"_s, u"Name of the organization (default: vxcommon)."_s,
                                u"NAME"_s, u"vxcommon"_s};

void PrintValue(RowPrinter& printer, const QString& name, const QJsonValue& value)
{
    printer.Print({{u"name"_s, name}, {u"value"_s, value}});
}

int Paths(const QCommandLineParser& parser)
{
    RowPrinter printer(parser);
    PrintValue(printer, u"AppPath"_s, Shell::AppPath());
    PrintValue(printer, u"DesktopPath"_s, Shell::DesktopPath());
    PrintValue(printer, u"StartMenuPath"_s, Shell::StartMenuPath());
    PrintValue(printer, u"QuickLaunchPath"_s, Shell::QuickLaunchPath());
    PrintValue(printer, u"IsQuickLaunchAvailable"_s, Shell::IsQuickLaunchAvailable());
    PrintValue(printer, u"TempPath"_s, Shell::TempPath());
    PrintValue(printer, u"applicationDirPath"_s, Shell::applicationDirPath());
    PrintValue(printer, u"LocaleName"_s, Shell::LocaleName());
    PrintValue(printer, u"Is64BitSystem"_s, Shell::Is64BitSystem());
    return AllValid;
}

int Device(const QCommandLineParser& parser)
{
    using common::shell::DeviceInfo;
    RowPrinter printer(parser);
    PrintValue(printer, u"serial"_s, DeviceInfo::GetSerialNumber());
    PrintValue(printer, u"serial-md5"_s, DeviceInfo::GetSerialNumberMD5Hash(QString()));
    PrintValue(printer, u"playback"_s, tools::AudioDeviceTools::getDefaultDeviceName(true));
    PrintValue(printer, u"capture"_s, tools::AudioDeviceTools::getDefaultDeviceName(false));
    PrintValue(printer, u"caps-lock"_s, tools::Keyboard::IsCapsLock());
    return AllValid;
}

int Show(const QCommandLineParser& parser)
{
    platform::EnterDesktop();
    return ExitCodeOf(ForEachInput(parser.positionalArguments(), [](const QString& path) {
        if (!QFileInfo::exists(path)) {
            return Complain(u"there is no file \"%1\""_s.arg(path));
        }
        return Shell::ShowFile(path) || Complain(u"cannot show \"%1\": %2"_s.arg(path, TakeLibraryError()));
    }));
}

int Shortcut(const QCommandLineParser& parser)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2) {
        return FailUsage(u"a target and the file of the shortcut are needed"_s);
    }
    const QString& target = arguments.at(0);
    const QString& file = arguments.at(1);
    if (!QFileInfo::exists(target) && QStandardPaths::findExecutable(target).isEmpty()) {
        return Fail(u"there is no target \"%1\""_s.arg(target));
    }
    const QString folder = QFileInfo(file).absolutePath();
    platform::EnterDesktop();
    return Shell::CreateShortcut(target, parser.value(directoryOption), parser.value(argumentsOption), file,
                                 parser.value(descriptionOption), parser.value(applicationIdOption))
               ? AllValid
               : Fail(u"cannot write \"%1\""_s.arg(file),
                      QFileInfo::exists(folder) ? PlaceProblem(file)
                                                : u"there is no directory \"%1\""_s.arg(folder));
}

/// Returns a command that runs `call` for each library and prints its result.
Run RunComponents(unsigned long (*call)(const QString&, bool))
{
    return [call](const QCommandLineParser& parser) {
        RowPrinter printer(parser);
        return ExitCodeOf(ForEachInput(parser.positionalArguments(), [&](const QString& path) {
            constexpr int base = 16;
            const unsigned long result = call(path, parser.isSet(adminOption));
            printer.Print({{u"result"_s, u"0x"_s + QString::number(result, base)}, {u"file"_s, path}});
            return result == 0 || Complain(u"%1: %2"_s.arg(path, TakeLibraryError()));
        }));
    };
}

/// Also fails if the settings were written, but a file for the desktop was not.
int ExitCodeOfRegistration(bool isDone)
{
    const QString error = TakeLibraryError();
    return isDone && error.isEmpty() ? AllValid : Fail(error);
}

/// Returns a command that runs `change` for the given URL schemes.
Run ChangeProtocols(bool (*change)(const QStringList&, const QString&, const QString&))
{
    return [change](const QCommandLineParser& parser) {
        static const QRegularExpression scheme(u"\\A[A-Za-z][A-Za-z0-9+.-]*\\z"_s); // RFC 3986, 3.1
        const QStringList given = parser.positionalArguments();
        for (const QString& text : given) {
            if (!scheme.match(text).hasMatch()) {
                return Fail(u"\"%1\" is not a URL scheme"_s.arg(text));
            }
        }
        return ExitCodeOfRegistration(
            change(given.isEmpty() ? ClickToCall::currentAvailableProtocols() : given,
                   parser.value(applicationOption), parser.value(organizationOption)));
    };
}

int UnregisterApplication(const QCommandLineParser& parser)
{
    const QString application = parser.value(applicationOption);
    const QString organization = parser.value(organizationOption);
    if (application.isEmpty() || organization.isEmpty()) {
        return FailUsage(u"the names must not be empty"_s);
    }
    return ExitCodeOfRegistration(ClickToCall::unregisterApplication(application, organization));
}

int ProtocolState(const QCommandLineParser& parser)
{
    const QStringList own =
        ClickToCall::stateOfProtocols(parser.value(applicationOption), parser.value(organizationOption));
    const QStringList asked = parser.positionalArguments();
    RowPrinter printer(parser);
    bool all = true;
    for (const QString& scheme : asked.isEmpty() ? ClickToCall::availableProtocols() : asked) {
        const bool isOwn = own.contains(scheme);
        printer.Print({{u"own"_s, isOwn}, {u"scheme"_s, scheme}});
        all = all && isOwn;
    }
    return ExitCodeOf(all || asked.isEmpty());
}

/// Returns a command that runs `job` for each extension and prints its result.
Run ForEachExtension(const QString& column, bool (*job)(const QString&))
{
    return [column, job](const QCommandLineParser& parser) {
        static const QRegularExpression idPattern(u"\\A[A-Za-z0-9_-]+\\z"_s);
        RowPrinter printer(parser);
        return ExitCodeOf(ForEachInput(parser.positionalArguments(), [&](const QString& id) {
            if (!idPattern.match(id).hasMatch()) {
                return Complain(u"\"%1\" is not an extension id"_s.arg(id));
            }
            const bool result = job(id);
            printer.Print({{column, result}, {u"id"_s, id}});
            const QString error = TakeLibraryError();
            return result && (error.isEmpty() || Complain(error));
        }));
    };
}

const CommandRegistration registration([] {
    const QString schemes = u"[SCHEME...]"_s;
    const Options protocolOptions{applicationOption, organizationOption};
    return CommandList{
        {u"paths"_s, QString(), u"Show the known folders of the user."_s, RowPrinter::Options(), Paths},
        {u"device"_s, QString(), u"Show machine id, sound devices and Caps Lock state."_s,
         RowPrinter::Options(), Device},
        {u"show"_s, u"[FILE...]"_s, u"Open the file manager with a file selected."_s, {}, Show},
        {u"shortcut"_s,
         u"TARGET FILE"_s,
         u"Write a shortcut."_s,
         {directoryOption, argumentsOption, descriptionOption, applicationIdOption},
         Shortcut,
         u"FILE is a shell link (.lnk) on Windows and a desktop entry (.desktop) on Linux."_s},
        {u"component register"_s, u"[LIBRARY...]"_s, u"Register component libraries."_s,
         RowPrinter::Options({adminOption}), RunComponents(Shell::RegisterComponent),
         u"Prints the HRESULT; 0x0 is success."_s},
        {u"component unregister"_s, u"[LIBRARY...]"_s, u"Unregister component libraries."_s,
         RowPrinter::Options({adminOption}), RunComponents(Shell::UnregisterComponent)},
        {u"protocols register"_s, schemes, u"Make vxtool the handler of URL schemes."_s, protocolOptions,
         ChangeProtocols(ClickToCall::registerProtocols),
         u"Without arguments, registers callto, tel and sip. Clicking a link starts 'vxtool --callto ADDRESS'."_s,
         u"vxtool protocols register tel sip"_s},
        {u"protocols unregister"_s, schemes, u"Remove vxtool as the handler of URL schemes."_s,
         protocolOptions, ChangeProtocols(ClickToCall::unregisterProtocols)},
        {u"protocols unregister-app"_s, QString(), u"Remove the registration of the application."_s,
         protocolOptions, UnregisterApplication},
        {u"protocols state"_s, schemes, u"List the URL schemes that vxtool handles."_s,
         RowPrinter::Options(protocolOptions), ProtocolState},
        {u"extension register"_s, u"[ID...]"_s, u"Request the installation of browser extensions."_s,
         RowPrinter::Options(), ForEachExtension(u"written"_s, PluginUtils::RegisterPlugin),
         u"Prints false if the request already exists."_s},
        {u"extension unregister"_s, u"[ID...]"_s, u"Withdraw the request for browser extensions."_s,
         RowPrinter::Options(), ForEachExtension(u"done"_s, PluginUtils::UnregisterPlugin)},
        {u"extension state"_s, u"[ID...]"_s, u"Show whether an installation has been requested."_s,
         RowPrinter::Options(), ForEachExtension(u"registered"_s, PluginUtils::IsRegistered)},
    };
});

} // namespace

} // namespace vxtool
