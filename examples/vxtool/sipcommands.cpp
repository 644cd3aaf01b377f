#include "command.h"
#include "input.h"
#include "output.h"

#include <common/logger/logger.h>
#include <common/sip/password.h>
#include <common/sip/sipid.h>

namespace vxtool
{

namespace
{

using tools::sip::Password;
using tools::sip::SipId;

constexpr common::logger::Channel logChannel{"vxtool.sip"};

QString ErrorName(SipId::Error error)
{
    switch (error) {
    case SipId::NoError:
        return QStringLiteral("NoError");
    case SipId::FormatError:
        return QStringLiteral("FormatError");
    case SipId::SymbolError:
        return QStringLiteral("SymbolError");
    case SipId::LengthError:
        break;
    }
    return QStringLiteral("LengthError");
}

int Check(const QCommandLineParser& parser)
{
    RowPrinter printer(parser);
    const bool allValid = ForEachInput(parser.positionalArguments(), [&printer](const QString& id) {
        const SipId::Error error = SipId::Check(id);
        LOG_MESSAGE(common::logger::Debug) << "checked " << id << ": " << ErrorName(error);
        printer.Print({{QStringLiteral("result"), ErrorName(error)}, {QStringLiteral("id"), id}});
        return error == SipId::NoError;
    });
    return ExitCodeOf(allValid);
}

int Parse(const QCommandLineParser& parser)
{
    RowPrinter printer(parser);
    const bool allValid = ForEachInput(parser.positionalArguments(), [&printer](const QString& text) {
        QString user;
        QString domain;
        QString name;
        QString extension;
        QString port;
        const bool ok = SipId::ParseURIEx(text, user, domain, name, extension, port);
        if (!ok) {
            LOG_MESSAGE(common::logger::Warn) << "not understood: " << text;
        }
        printer.Print({{QStringLiteral("ok"), ok},
                       {QStringLiteral("user"), user},
                       {QStringLiteral("domain"), domain},
                       {QStringLiteral("name"), name},
                       {QStringLiteral("extension"), extension},
                       {QStringLiteral("port"), port}});
        return ok;
    });
    return ExitCodeOf(allValid);
}

int CheckPassword(const QCommandLineParser& parser)
{
    RowPrinter printer(parser);
    const bool allValid = ForEachInput(parser.positionalArguments(), [&printer](const QString& password) {
        const bool good = Password::IsGood(password);
        printer.Print({{QStringLiteral("good"), good}, {QStringLiteral("password"), password}});
        return good;
    });
    return ExitCodeOf(allValid);
}

const CommandRegistration registration{
    {QStringLiteral("sip check"), QStringLiteral("[ID...]"),
     QStringLiteral(
         "Tell whether texts are SIP identifiers of the service: NoError, FormatError, SymbolError or "
         "LengthError."),
     RowPrinter::AddOptions, Check},
    {QStringLiteral("sip parse"), QStringLiteral("[TEXT...]"),
     QStringLiteral("Split addresses into user, domain, display name, extension and port."),
     RowPrinter::AddOptions, Parse},
    {QStringLiteral("password"), QStringLiteral("[TEXT...]"),
     QStringLiteral(
         "Tell whether texts are good SIP passwords: 8 to 20 letters, digits and common punctuation."),
     RowPrinter::AddOptions, CheckPassword},
};

} // namespace

} // namespace vxtool
