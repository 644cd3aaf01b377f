#include "command.h"
#include "input.h"
#include "output.h"

#include <common/tools/url.h>

namespace vxtool
{

namespace
{

const QString name = QStringLiteral("links");

int Run(const QCommandLineParser& parser)
{
    if (parser.positionalArguments().size() > 1) {
        return FailUsage(QStringLiteral("one file at a time"), name);
    }
    QByteArray bytes;
    if (!ReadInput(parser.positionalArguments(), bytes)) {
        return SomeFailed;
    }
    const QString text = QString::fromUtf8(bytes);
    RowPrinter printer(parser);
    const auto ranges = tools::url::FindUrlRanges(text);
    for (const auto& range : ranges) {
        printer.Print({{QStringLiteral("start"), range.start},
                       {QStringLiteral("length"), range.length},
                       {QStringLiteral("text"), text.mid(range.start, range.length)}});
    }
    return AllValid;
}

const CommandRegistration registration{
    {name, QStringLiteral("[FILE]"),
     QStringLiteral("Find the links in a text (UTF-8): start and length in UTF-16 units, and the link."),
     RowPrinter::AddOptions, Run},
};

} // namespace

} // namespace vxtool
