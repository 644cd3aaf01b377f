#include "command.h"
#include "output.h"

#include <common/contact/icontactcontext.h>
#include <common/contact/inumbercontext.h>
#include <common/logger/logger.h>
#include <common/sip/password.h>
#include <common/sip/sipid.h>
#include <common/tools/web.h>

#include <QHash>

namespace vxtool
{

namespace
{

namespace number = common::contact::number;
using tools::sip::Password;
using tools::sip::SipId;
using tools::web::Web;

constexpr common::logger::Channel logChannel{"vxtool.contact"};

const Option nameOption{u"name"_s, u"Display name of the contacts."_s, u"NAME"_s};

int Contact(const QCommandLineParser& parser)
{
    const auto makeRow = [&parser](const QString& text) {
        const auto contact = common::contact::CreateInstance(text, parser.value(nameOption));
        const QHash<int, QString> kinds{{number::ServiceNumber, u"ServiceNumber"_s},
                                        {number::PhoneNumber, u"PhoneNumber"_s},
                                        {number::SipAddress, u"SipAddress"_s}};
        const QString kind = kinds.value(contact->Kind(), u"SkypeName"_s);
        LOG_MESSAGE(common::logger::Info) << kind << ": " << contact->FullAddress();
        return Row{{u"kind"_s, kind},
                   {u"address"_s, contact->Address()},
                   {u"displayText"_s, contact->DisplayText()},
                   {u"fullAddress"_s, contact->FullAddress()},
                   {u"number"_s, contact->Number()},
                   {u"domain"_s, contact->Domain()},
                   {u"extension"_s, contact->Extension()},
                   {u"displayName"_s, contact->DisplayName()}};
    };
    return PrintRows(makeRow)(parser);
}

Row Check(const QString& id)
{
    const QHash<int, QString> names{{SipId::NoError, u"NoError"_s},
                                    {SipId::FormatError, u"FormatError"_s},
                                    {SipId::SymbolError, u"SymbolError"_s},
                                    {SipId::LengthError, u"LengthError"_s}};
    return {{u"result"_s, names.value(SipId::Check(id))}, {u"id"_s, id}};
}

Row Parse(const QString& text)
{
    QString user;
    QString domain;
    QString name;
    QString extension;
    QString port;
    const bool ok = SipId::ParseURIEx(text, user, domain, name, extension, port);
    return {{u"ok"_s, ok},     {u"user"_s, user},           {u"domain"_s, domain},
            {u"name"_s, name}, {u"extension"_s, extension}, {u"port"_s, port}};
}

Row CheckPassword(const QString& password)
{
    return {{u"good"_s, Password::IsGood(password)}, {u"password"_s, password}};
}

Row WebAddress(const QString& sipId)
{
    const QHash<int, QString> names{{Web::LocaleRu, u"LocaleRu"_s}, {Web::LocaleEu, u"LocaleEu"_s}};
    return {{u"url"_s, Web::GetWebServisesUrl(sipId)},
            {u"locale"_s, names.value(Web::GetLocale(sipId), u"LocaleDefault"_s)},
            {u"id"_s, sipId}};
}

const CommandRegistration registration([] {
    return CommandList{
        {u"contact"_s, u"[TEXT...]"_s, u"Show how an address or number is interpreted."_s,
         RowPrinter::Options({nameOption}), Contact,
         u"Prints kind, address, display text, full address, number, domain, extension and display name."_s,
         u"vxtool contact --table --columns kind,address '+1 212 555 0119' skype:Anna"_s},
        {u"sip check"_s, u"[ID...]"_s, u"Check SIP identifiers of the service."_s, RowPrinter::Options(),
         PrintRows(Check, u"NoError"_s),
         u"Prints NoError, FormatError, SymbolError or LengthError, and the identifier."_s,
         u"vxtool sip check anna@office.quollsip.com"_s},
        {u"sip parse"_s, u"[TEXT...]"_s, u"Split addresses into their parts."_s, RowPrinter::Options(),
         PrintRows(Parse, true), u"Prints true or false, user, domain, display name, extension and port."_s,
         u"vxtool sip parse --json '\"Anna\" <sip:anna@office.quollsip.com:5061>'"_s},
        {u"password"_s, u"[TEXT...]"_s, u"Check passwords against the rules for SIP accounts."_s,
         RowPrinter::Options(), PrintRows(CheckPassword, true),
         u"A good password has 8 to 20 letters, digits and common punctuation marks. Provide passwords on "
         "standard input: the process list shows arguments to every user."_s},
        {u"web"_s, u"[ID...]"_s, u"Show the web service address of SIP identifiers."_s, RowPrinter::Options(),
         PrintRows(WebAddress)},
    };
});

} // namespace

} // namespace vxtool
