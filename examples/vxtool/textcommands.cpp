#include "command.h"
#include "input.h"
#include "output.h"

#include <common/tools/stringconverter.h>
#include <common/tools/stringsplitter.h>

namespace vxtool
{

namespace
{

using tools::string::converter;
using tools::string::splitter;

const QString fileOption = QStringLiteral("file");
const QString groupOption = QStringLiteral("group");
const QString utf8Option = QStringLiteral("utf8");
const QString ucs2Option = QStringLiteral("ucs2");
const QString uuidFormName = QStringLiteral("uuidform");
const QString splitName = QStringLiteral("split");

int Convert(const QStringList& arguments, const std::function<QString(const QString&)>& convert)
{
    return ExitCodeOf(ForEachInput(arguments, [&convert](const QString& text) {
        PrintLine(convert(text));
        return true;
    }));
}

int Hex(const QCommandLineParser& parser)
{
    return Convert(parser.positionalArguments(), converter::ToHex);
}

void AddMd5Options(QCommandLineParser& parser)
{
    parser.addOption(
        {fileOption, QStringLiteral("The arguments are files; with none, take all of standard input.")});
}

int Md5(const QCommandLineParser& parser)
{
    QStringList arguments = parser.positionalArguments();
    if (!parser.isSet(fileOption)) {
        return Convert(arguments, [](const QString& text) { return converter::ToMD5(text); });
    }
    bool allRead = true;
    do {
        QByteArray bytes;
        const bool isRead = ReadInput(arguments.mid(0, 1), bytes);
        if (isRead) {
            PrintLine(converter::ToMD5(bytes));
        }
        allRead = isRead && allRead;
        arguments = arguments.mid(1);
    } while (!arguments.isEmpty());
    return ExitCodeOf(allRead);
}

void AddUuidFormOptions(QCommandLineParser& parser)
{
    parser.addOption({groupOption, QStringLiteral("Digits in a group; needed."), QStringLiteral("N")});
}

int UuidForm(const QCommandLineParser& parser)
{
    bool isNumber = false;
    const unsigned int group = parser.value(groupOption).toUInt(&isNumber);
    if (!isNumber || group == 0) {
        return FailUsage(QStringLiteral("--group takes a number above 0"), uuidFormName);
    }
    return Convert(parser.positionalArguments(),
                   [group](const QString& text) { return converter::ToUuidForm(text, group); });
}

void AddSplitOptions(QCommandLineParser& parser)
{
    parser.addOption({utf8Option, QStringLiteral("Pieces of N bytes in UTF-8."), QStringLiteral("N")});
    parser.addOption({ucs2Option,
                      QStringLiteral("Pieces of N bytes, two bytes a character unless it is ASCII."),
                      QStringLiteral("N")});
    RowPrinter::AddOptions(parser);
}

int Split(const QCommandLineParser& parser)
{
    const bool isUtf8 = parser.isSet(utf8Option);
    if (isUtf8 == parser.isSet(ucs2Option)) {
        return FailUsage(QStringLiteral("either --utf8 N or --ucs2 N is needed"), splitName);
    }
    bool isNumber = false;
    const int limit = parser.value(isUtf8 ? utf8Option : ucs2Option).toInt(&isNumber);
    const int minimum = isUtf8 ? 3 : 2;
    if (!isNumber || limit < minimum) {
        return FailUsage(QStringLiteral("a piece must have room for %1 bytes at least").arg(minimum),
                         splitName);
    }
    RowPrinter printer(parser);
    return ExitCodeOf(ForEachInput(parser.positionalArguments(), [&](const QString& text) {
        const QStringList pieces = isUtf8 ? splitter::Utf8(text, limit) : splitter::Ucs2(text, limit);
        for (const QString& piece : pieces) {
            printer.Print({{QStringLiteral("units"), piece.size()},
                           {QStringLiteral("bytes"), piece.toUtf8().size()},
                           {QStringLiteral("text"), piece}});
        }
        return true;
    }));
}

const CommandRegistration registration{
    {QStringLiteral("hex"), QStringLiteral("[TEXT...]"),
     QStringLiteral("Show the UTF-8 bytes of texts as hex."), [](QCommandLineParser&) {}, Hex},
    {QStringLiteral("md5"), QStringLiteral("[TEXT...] | --file [FILE...]"),
     QStringLiteral("Show the MD5 sums of texts (UTF-8) or files."), AddMd5Options, Md5},
    {uuidFormName, QStringLiteral("--group N [TEXT...]"),
     QStringLiteral("Show the UTF-8 bytes of texts as hex in braces, with dashes between groups."),
     AddUuidFormOptions, UuidForm},
    {splitName, QStringLiteral("--utf8 N | --ucs2 N [TEXT...]"),
     QStringLiteral("Cut texts into pieces of N bytes: units and UTF-8 bytes of a piece, and the piece."),
     AddSplitOptions, Split},
};

} // namespace

} // namespace vxtool
