#include "command.h"
#include "input.h"
#include "output.h"

#include <common/contact/icontactcontext.h>
#include <common/contact/inumbercontext.h>
#include <common/logger/logger.h>
#include <common/sip/password.h>
#include <common/sip/sipid.h>
#include <common/tools/web.h>

namespace vxtool
{

namespace
{

namespace number = common::contact::number;
using tools::sip::Password;
using tools::sip::SipId;
using tools::web::Web;

constexpr common::logger::Channel logChannel{"vxtool.contact"};

const QCommandLineOption nameOption{u"name"_s, u"Display name of the contacts."_s, u"NAME"_s};

/// Prints what `makeRow` returns for each input, and ends well if its first value is never `bad`.
int ForEachRow(const QCommandLineParser& parser, const QJsonValue& good,
               const std::function<Row(const QString&)>& makeRow)
{
    RowPrinter printer(parser);
    return ExitCodeOf(ForEachInput(parser.positionalArguments(), [&](const QString& text) {
        const Row row = makeRow(text);
        printer.Print(row);
        return good.isNull() || row.front().second == good;
    }));
}

QString KindName(int kind)
{
    switch (kind) {
    case number::ServiceNumber:
        return u"ServiceNumber"_s;
    case number::PhoneNumber:
        return u"PhoneNumber"_s;
    case number::SipAddress:
        return u"SipAddress"_s;
    default:
        return u"SkypeName"_s;
    }
}

int Contact(const QCommandLineParser& parser)
{
    return ForEachRow(parser, QJsonValue::Null, [&parser](const QString& text) {
        const auto contact = common::contact::CreateInstance(text, parser.value(nameOption));
        const QString kind = KindName(contact->Kind());
        LOG_MESSAGE(common::logger::Info) << kind << ": " << contact->FullAddress();
        return Row{{u"kind"_s, kind},
                   {u"address"_s, contact->Address()},
                   {u"displayText"_s, contact->DisplayText()},
                   {u"fullAddress"_s, contact->FullAddress()},
                   {u"number"_s, contact->Number()},
                   {u"domain"_s, contact->Domain()},
                   {u"extension"_s, contact->Extension()},
                   {u"displayName"_s, contact->DisplayName()}};
    });
}

QString ErrorName(SipId::Error error)
{
    switch (error) {
    case SipId::NoError:
        return u"NoError"_s;
    case SipId::FormatError:
        return u"FormatError"_s;
    case SipId::SymbolError:
        return u"SymbolError"_s;
    case SipId::LengthError:
        break;
    }
    return u"LengthError"_s;
}

int Check(const QCommandLineParser& parser)
{
    return ForEachRow(parser, ErrorName(SipId::NoError), [](const QString& id) {
        return Row{{u"result"_s, ErrorName(SipId::Check(id))}, {u"id"_s, id}};
    });
}

int Parse(const QCommandLineParser& parser)
{
    return ForEachRow(parser, true, [](const QString& text) {
        QString user;
        QString domain;
        QString name;
        QString extension;
        QString port;
        const bool ok = SipId::ParseURIEx(text, user, domain, name, extension, port);
        return Row{{u"ok"_s, ok},     {u"user"_s, user},           {u"domain"_s, domain},
                   {u"name"_s, name}, {u"extension"_s, extension}, {u"port"_s, port}};
    });
}

int CheckPassword(const QCommandLineParser& parser)
{
    return ForEachRow(parser, true, [](const QString& password) {
        return Row{{u"good"_s, Password::IsGood(password)}, {u"password"_s, password}};
    });
}

QString LocaleName(Web::Locale locale)
{
    switch (locale) {
    case Web::LocaleRu:
        return u"LocaleRu"_s;
    case Web::LocaleEu:
        return u"LocaleEu"_s;
    case Web::LocaleDefault:
        break;
    }
    return u"LocaleDefault"_s;
}

int WebAddress(const QCommandLineParser& parser)
{
    return ForEachRow(parser, QJsonValue::Null, [](const QString& sipId) {
        return Row{{u"url"_s, Web::GetWebServisesUrl(sipId)},
                   {u"locale"_s, LocaleName(Web::GetLocale(sipId))},
                   {u"id"_s, sipId}};
    });
}

const CommandRegistration registration([] {
    return CommandList{
        {u"contact"_s, u"[TEXT...]"_s, u"Show whom an address or a number would call."_s,
         RowPrinter::Options({nameOption}), Contact,
         u"Prints kind, address, display text, full address, number, domain, extension and display name."_s,
         u"vxtool contact --table --columns kind,address '+1 212 555 0119' skype:Anna"_s},
        {u"sip check"_s, u"[ID...]"_s, u"Check SIP identifiers of the service."_s, RowPrinter::Options(),
         Check, u"Prints NoError, FormatError, SymbolError or LengthError, and the identifier."_s,
         u"vxtool sip check anna@office.quollsip.com"_s},
        {u"sip parse"_s, u"[TEXT...]"_s, u"Split addresses into their parts."_s, RowPrinter::Options(), Parse,
         u"Prints true or false, user, domain, display name, extension and port."_s,
         u"vxtool sip parse --json '\"Anna\" <sip:anna@office.quollsip.com:5061>'"_s},
        {u"password"_s, u"[TEXT...]"_s, u"Check the rules for SIP passwords."_s, RowPrinter::Options(),
         CheckPassword,
         u"A good password has 8 to 20 letters, digits and common punctuation. Give passwords on standard "
         "input: the process list shows arguments to every user."_s},
        {u"web"_s, u"[ID...]"_s, u"Show the web service address of SIP identifiers."_s, RowPrinter::Options(),
         WebAddress},
    };
});

} // namespace

} // namespace vxtool
