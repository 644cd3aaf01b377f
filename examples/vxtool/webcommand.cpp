#include "command.h"
#include "input.h"
#include "output.h"

#include <common/tools/web.h>

namespace vxtool
{

namespace
{

using tools::web::Web;

QString LocaleName(Web::Locale locale)
{
    switch (locale) {
    case Web::LocaleRu:
        return QStringLiteral("LocaleRu");
    case Web::LocaleEu:
        return QStringLiteral("LocaleEu");
    case Web::LocaleDefault:
        break;
    }
    return QStringLiteral("LocaleDefault");
}

int WebAddress(const QCommandLineParser& parser)
{
    RowPrinter printer(parser);
    return ExitCodeOf(ForEachInput(parser.positionalArguments(), [&printer](const QString& sipId) {
        printer.Print({{QStringLiteral("url"), Web::GetWebServisesUrl(sipId)},
                       {QStringLiteral("locale"), LocaleName(Web::GetLocale(sipId))},
                       {QStringLiteral("id"), sipId}});
        return true;
    }));
}

const CommandRegistration registration{
    {QStringLiteral("web"), QStringLiteral("[ID...]"),
     QStringLiteral("Show the web service address that belongs to SIP identities."), RowPrinter::AddOptions,
     WebAddress},
};

} // namespace

} // namespace vxtool
