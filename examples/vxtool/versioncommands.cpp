#include "command.h"
#include "input.h"
#include "output.h"

#include <common/tools/version.h>

#include <QStringList>

namespace vxtool
{

namespace
{

using common::Version;

int Parse(const QCommandLineParser& parser)
{
    RowPrinter printer(parser);
    return ExitCodeOf(ForEachInput(parser.positionalArguments(), [&printer](const QString& text) {
        const Version version(text);
        printer.Print({{QStringLiteral("version"), version.ToString()},
                       {QStringLiteral("major"), static_cast<qint64>(version.Major())},
                       {QStringLiteral("minor"), static_cast<qint64>(version.Minor())},
                       {QStringLiteral("build"), static_cast<qint64>(version.Build())},
                       {QStringLiteral("release"), static_cast<qint64>(version.Release())}});
        return true;
    }));
}

QString Relation(const Version& a, const Version& b)
{
    if (a < b) {
        return QStringLiteral("<");
    }
    return a == b ? QStringLiteral("=") : QStringLiteral(">");
}

int Compare(const QCommandLineParser& parser)
{
    RowPrinter printer(parser);
    const auto compare = [&printer](const QStringList& pair) {
        if (pair.size() != 2) {
            PrintError(QStringLiteral("vxtool version compare: two versions are needed, got \"%1\"")
                           .arg(pair.join(u' ')));
            return false;
        }
        const Version a(pair.at(0));
        const Version b(pair.at(1));
        printer.Print({{QStringLiteral("a"), a.ToString()},
                       {QStringLiteral("relation"), Relation(a, b)},
                       {QStringLiteral("b"), b.ToString()}});
        return true;
    };

    const QStringList arguments = parser.positionalArguments();
    if (arguments.isEmpty()) {
        const bool allValid = ForEachInput(arguments, [&compare](const QString& line) {
            return compare(line.split(u' ', Qt::SkipEmptyParts));
        });
        return ExitCodeOf(allValid);
    }
    return compare(arguments) ? AllValid : WrongUsage;
}

const CommandRegistration registration{
    {QStringLiteral("version parse"), QStringLiteral("[TEXT...]"),
     QStringLiteral("Read version numbers: the four parts as one text, then one by one."),
     RowPrinter::AddOptions, Parse},
    {QStringLiteral("version compare"), QStringLiteral("[A B]"),
     QStringLiteral("Compare two version numbers; from standard input, two to a line with a blank between."),
     RowPrinter::AddOptions, Compare},
};

} // namespace

} // namespace vxtool
