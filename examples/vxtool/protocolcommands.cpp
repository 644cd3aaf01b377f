#include "command.h"
#include "input.h"
#include "output.h"

#include <common/chrome/pluginutils.h>
#include <common/clicktocall/clicktocall.h>

#include <QStringList>

#include <functional>

namespace vxtool
{

namespace
{

using common::ClickToCall;
using common::chrome::PluginUtils;

const QString applicationOption = QStringLiteral("application");
const QString organizationOption = QStringLiteral("organization");

void AddProtocolOptions(QCommandLineParser& parser)
{
    RowPrinter::AddOptions(parser);
    parser.addOption({applicationOption, QStringLiteral("Name of the application; vxtool if not given."),
                      QStringLiteral("NAME"), QStringLiteral("vxtool")});
    parser.addOption({organizationOption, QStringLiteral("Name of the organization; vxcommon if not given."),
                      QStringLiteral("NAME"), QStringLiteral("vxcommon")});
}

/// The schemes that the library tells to be the application's, or those of `schemes` among them.
int PrintState(const QCommandLineParser& parser, QStringList schemes)
{
    const QStringList own =
        ClickToCall::stateOfProtocols(parser.value(applicationOption), parser.value(organizationOption));
    bool all = true;
    if (schemes.isEmpty()) {
        schemes = ClickToCall::availableProtocols();
    }
    RowPrinter printer(parser);
    for (const QString& scheme : schemes) {
        const bool isOwn = own.contains(scheme);
        printer.Print({{QStringLiteral("own"), isOwn}, {QStringLiteral("scheme"), scheme}});
        all = all && isOwn;
    }
    return all || parser.positionalArguments().isEmpty() ? AllValid : SomeFailed;
}

using ChangeProtocols = std::function<bool(const QList<QString>&, const QString&, const QString&)>;

int Change(const QCommandLineParser& parser, const ChangeProtocols& change)
{
    const QStringList schemes = parser.positionalArguments();
    const bool changed = change(schemes.isEmpty() ? ClickToCall::currentAvailableProtocols() : schemes,
                                parser.value(applicationOption), parser.value(organizationOption));
    return changed ? AllValid : SomeFailed;
}

int Register(const QCommandLineParser& parser)
{
    return Change(parser, ClickToCall::registerProtocols);
}

int Unregister(const QCommandLineParser& parser)
{
    return Change(parser, ClickToCall::unregisterProtocols);
}

int UnregisterApplication(const QCommandLineParser& parser)
{
    const QString application = parser.value(applicationOption);
    const QString organization = parser.value(organizationOption);
    if (application.isEmpty() || organization.isEmpty()) {
        return FailUsage(QStringLiteral("the names must not be empty"),
                         QStringLiteral("protocols unregister-app"));
    }
    return ClickToCall::unregisterApplication(application, organization) ? AllValid : SomeFailed;
}

int State(const QCommandLineParser& parser)
{
    return PrintState(parser, parser.positionalArguments());
}

/// Does `job` to each extension and prints what it answered.
int ForEachExtension(const QCommandLineParser& parser, const QString& column, bool (*job)(const QString&))
{
    RowPrinter printer(parser);
    const bool all = ForEachInput(parser.positionalArguments(), [&](const QString& id) {
        const bool answer = job(id);
        printer.Print({{column, answer}, {QStringLiteral("id"), id}});
        return answer;
    });
    return all ? AllValid : SomeFailed;
}

int RegisterExtension(const QCommandLineParser& parser)
{
    return ForEachExtension(parser, QStringLiteral("written"), PluginUtils::RegisterPlugin);
}

int UnregisterExtension(const QCommandLineParser& parser)
{
    return ForEachExtension(parser, QStringLiteral("done"), PluginUtils::UnregisterPlugin);
}

int ExtensionState(const QCommandLineParser& parser)
{
    return ForEachExtension(parser, QStringLiteral("registered"), PluginUtils::IsRegistered);
}

const QString schemes = QStringLiteral("[SCHEME...]");
const QString extensions = QStringLiteral("[ID...]");

const CommandRegistration registration{
    {QStringLiteral("protocols register"), schemes,
     QStringLiteral("Make this program the handler of URL schemes: callto, tel and sip if none is given."),
     AddProtocolOptions, Register},
    {QStringLiteral("protocols unregister"), schemes,
     QStringLiteral("Give URL schemes up: callto, tel and sip if none is given."), AddProtocolOptions,
     Unregister},
    {QStringLiteral("protocols unregister-app"), QString(),
     QStringLiteral("Remove the application that URL schemes were registered for."), AddProtocolOptions,
     UnregisterApplication},
    {QStringLiteral("protocols state"), schemes,
     QStringLiteral("Show for which URL schemes the application is registered and not passed over."),
     AddProtocolOptions, State},
    {QStringLiteral("extension register"), extensions,
     QStringLiteral("Ask the browser to install extensions; false if that is asked for already."),
     RowPrinter::AddOptions, RegisterExtension},
    {QStringLiteral("extension unregister"), extensions,
     QStringLiteral("Withdraw the request for browser extensions."), RowPrinter::AddOptions,
     UnregisterExtension},
    {QStringLiteral("extension state"), extensions,
     QStringLiteral("Show which browser extensions are asked for."), RowPrinter::AddOptions, ExtensionState},
};

} // namespace

} // namespace vxtool
