#include "command.h"
#include "input.h"
#include "output.h"

#include <common/contact/icontactcontext.h>
#include <common/contact/inumbercontext.h>
#include <common/logger/logger.h>

namespace vxtool
{

namespace
{

namespace number = common::contact::number;

constexpr common::logger::Channel logChannel{"vxtool.contact"};

const QString nameOption = QStringLiteral("name");

QString KindName(int kind)
{
    switch (kind) {
    case number::ServiceNumber:
        return QStringLiteral("ServiceNumber");
    case number::PhoneNumber:
        return QStringLiteral("PhoneNumber");
    case number::SipAddress:
        return QStringLiteral("SipAddress");
    default:
        return QStringLiteral("SkypeName");
    }
}

void AddOptions(QCommandLineParser& parser)
{
    RowPrinter::AddOptions(parser);
    parser.addOption({nameOption, QStringLiteral("Display name of the contacts."), QStringLiteral("N")});
}

int Contact(const QCommandLineParser& parser)
{
    RowPrinter printer(parser);
    return ExitCodeOf(ForEachInput(parser.positionalArguments(), [&](const QString& text) {
        const auto contact = common::contact::CreateInstance(text, parser.value(nameOption));
        const QString kind = KindName(contact->Kind());
        LOG_MESSAGE(common::logger::Info) << kind << ": " << contact->FullAddress();
        printer.Print({{QStringLiteral("kind"), kind},
                       {QStringLiteral("address"), contact->Address()},
                       {QStringLiteral("displayText"), contact->DisplayText()},
                       {QStringLiteral("fullAddress"), contact->FullAddress()},
                       {QStringLiteral("number"), contact->Number()},
                       {QStringLiteral("domain"), contact->Domain()},
                       {QStringLiteral("extension"), contact->Extension()},
                       {QStringLiteral("displayName"), contact->DisplayName()}});
        return true;
    }));
}

const CommandRegistration registration{
    {QStringLiteral("contact"), QStringLiteral("[TEXT...]"),
     QStringLiteral("Show what address texts mean to the dialler: kind, address, display text and parts."),
     AddOptions, Contact},
};

} // namespace

} // namespace vxtool
