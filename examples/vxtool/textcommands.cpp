#include "command.h"
#include "input.h"
#include "output.h"

#include <common/tools/stringconverter.h>
#include <common/tools/stringsplitter.h>
#include <common/tools/url.h>
#include <common/tools/version.h>

namespace vxtool
{

namespace
{

using common::Version;
using tools::string::converter;
using tools::string::splitter;

const Option stringOption{{u"s"_s, u"string"_s},
                          u"Hash the arguments, or each line of standard input, instead of files."_s};
const Option groupOption{u"group"_s, u"Number of digits per group (required)."_s, u"N"_s};
const Option utf8Option{u"utf8"_s, u"Split into pieces of N bytes of UTF-8; N is at least 3."_s, u"N"_s};
const Option ucs2Option{
    u"ucs2"_s,
    u"Split into pieces of N bytes; N is at least 2. ASCII pieces have one byte per character, others two."_s,
    u"N"_s};

/// Returns a command that prints the result of `convert` for each string.
Run Convert(const std::function<QString(const QString&)>& convert)
{
    return [convert](const QCommandLineParser& parser) {
        return ExitCodeOf(ForEachInput(parser.positionalArguments(), [&convert](const QString& text) {
            PrintLine(convert(text));
            return true;
        }));
    };
}

/// Returns the line that md5sum would print, with line breaks and backslashes in the name escaped.
QString SumLine(const QString& sum, QString name)
{
    const bool escape = name.contains(u'\\') || name.contains(u'\n') || name.contains(u'\r');
    name.replace(u'\\', "\\\\"_L1).replace(u'\n', "\\n"_L1).replace(u'\r', "\\r"_L1);
    return (escape ? u"\\"_s : QString()) + sum + u"  "_s + name;
}

int Md5(const QCommandLineParser& parser)
{
    if (parser.isSet(stringOption)) {
        return Convert([](const QString& text) { return converter::ToMD5(text); })(parser);
    }
    const QStringList files = parser.positionalArguments();
    bool allRead = true;
    for (const QString& file : files.isEmpty() ? QStringList{u"-"_s} : files) {
        QByteArray bytes;
        if (ReadInput(file, bytes)) {
            PrintLine(SumLine(converter::ToMD5(bytes), file));
        } else {
            allRead = false;
        }
    }
    return ExitCodeOf(allRead);
}

int UuidForm(const QCommandLineParser& parser)
{
    const unsigned int group = parser.value(groupOption).toUInt();
    if (group == 0) {
        return FailUsage(u"--group takes a number above 0"_s);
    }
    return Convert([group](const QString& text) { return converter::ToUuidForm(text, group); })(parser);
}

int Split(const QCommandLineParser& parser)
{
    const bool isUtf8 = parser.isSet(utf8Option);
    if (isUtf8 == parser.isSet(ucs2Option)) {
        return FailUsage(u"either --utf8 N or --ucs2 N is needed"_s);
    }
    const int limit = parser.value(isUtf8 ? utf8Option : ucs2Option).toInt();
    const int minimum = isUtf8 ? 3 : 2;
    if (limit < minimum) {
        return FailUsage(u"a piece must have room for at least %1 bytes"_s.arg(minimum));
    }
    RowPrinter printer(parser);
    return ExitCodeOf(ForEachInput(parser.positionalArguments(), [&](const QString& text) {
        const QStringList pieces = isUtf8 ? splitter::Utf8(text, limit) : splitter::Ucs2(text, limit);
        for (const QString& piece : pieces) {
            printer.Print(
                {{u"units"_s, piece.size()}, {u"bytes"_s, piece.toUtf8().size()}, {u"text"_s, piece}});
        }
        return true;
    }));
}

int Links(const QCommandLineParser& parser)
{
    QByteArray bytes;
    if (!ReadInput(parser.positionalArguments(), bytes)) {
        return SomeFailed;
    }
    const QString text = QString::fromUtf8(bytes);
    RowPrinter printer(parser);
    const auto ranges = tools::url::FindUrlRanges(text);
    for (const auto& range : ranges) {
        printer.Print({{u"start"_s, range.start},
                       {u"length"_s, range.length},
                       {u"text"_s, text.mid(range.start, range.length)}});
    }
    return AllValid;
}

Row ParseVersion(const QString& text)
{
    const Version version(text);
    return {{u"version"_s, version.ToString()},
            {u"major"_s, static_cast<qint64>(version.Major())},
            {u"minor"_s, static_cast<qint64>(version.Minor())},
            {u"build"_s, static_cast<qint64>(version.Build())},
            {u"release"_s, static_cast<qint64>(version.Release())}};
}

bool Compare(RowPrinter& printer, const QStringList& pair)
{
    if (pair.size() != 2) {
        return Complain(u"two versions are needed, not \"%1\""_s.arg(pair.join(u' ')));
    }
    const Version a(pair.at(0));
    const Version b(pair.at(1));
    printer.Print({{u"a"_s, a.ToString()},
                   {u"relation"_s, a < b ? u"<"_s : (a == b ? u"="_s : u">"_s)},
                   {u"b"_s, b.ToString()}});
    return true;
}

int CompareVersions(const QCommandLineParser& parser)
{
    RowPrinter printer(parser);
    const QStringList arguments = parser.positionalArguments();
    if (!arguments.isEmpty()) {
        return Compare(printer, arguments) ? AllValid : WrongUsage;
    }
    return ExitCodeOf(ForEachInput(arguments, [&printer](const QString& line) {
        return Compare(printer, line.split(u' ', Qt::SkipEmptyParts));
    }));
}

const CommandRegistration registration([] {
    return CommandList{
        {u"hex"_s,
         u"[TEXT...]"_s,
         u"Print the UTF-8 bytes of strings in hexadecimal."_s,
         {},
         Convert(converter::ToHex)},
        {u"md5"_s,
         u"[FILE...] | --string [TEXT...]"_s,
         u"Print MD5 sums of files, as md5sum does."_s,
         {stringOption},
         Md5,
         u"Reads standard input if FILE is \"-\" or missing. For strings, prints only the sums."_s,
         u"vxtool md5 *.bin > sums && md5sum --check sums"_s},
        {u"uuidform"_s,
         u"--group N [TEXT...]"_s,
         u"Print UTF-8 bytes in the form of a UUID."_s,
         {groupOption},
         UuidForm,
         u"Prints hexadecimal digits in braces, with dashes between groups of N digits."_s},
        {u"split"_s, u"--utf8 N | --ucs2 N [TEXT...]"_s, u"Split strings into pieces of N bytes."_s,
         RowPrinter::Options({utf8Option, ucs2Option}), Split,
         u"Prints the number of UTF-16 units and UTF-8 bytes of each piece, and its text."_s},
        {u"links"_s, u"[FILE]"_s, u"Find the links in a text."_s, RowPrinter::Options(), Links,
         u"Prints the start and length of each link, in UTF-16 units, and the link. The text is UTF-8."_s,
         u"vxtool links --columns text notes.txt"_s},
        {u"version parse"_s, u"[TEXT...]"_s, u"Parse version numbers."_s, RowPrinter::Options(),
         PrintRows(ParseVersion), u"Prints the version and its four parts."_s},
        {u"version compare"_s, u"[A B]"_s, u"Compare two version numbers."_s, RowPrinter::Options(),
         CompareVersions, u"Without arguments, reads two versions per line, separated by a space."_s,
         u"vxtool version compare 1.2.3 1.2.10"_s},
    };
});

} // namespace

} // namespace vxtool
