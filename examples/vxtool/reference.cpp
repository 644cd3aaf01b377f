#include "reference.h"

#include <QCoreApplication>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>

namespace vxtool::reference
{

namespace
{

constexpr qsizetype lineWidth = 79;
constexpr qsizetype termWidth = 24;

const QString purpose = u"use the vxcommon library on the command line"_s;
const QString usage = u"vxtool [OPTION...] COMMAND [OPTION...] [ARGUMENT...]"_s;
const QStringList description{
    u"vxtool makes the features of the vxcommon library available to scripts, support and tests."_s,
    u"A command that takes several arguments reads them from standard input, one per line, if none "
    "are given. \"-\" in place of FILE means standard input or output. \"--\" ends the options."_s};
const QStringList exitStatus{u"0  every input was valid and every job succeeded"_s,
                             u"1  some input was invalid, or a job failed"_s,
                             u"2  the command line is invalid"_s};

/// Returns `text` broken into lines. Indents all lines except the first by `indent`.
QString Wrapped(const QString& text, qsizetype indent, qsizetype width = lineWidth)
{
    QString wrapped;
    qsizetype column = indent;
    for (const QString& word : text.split(u' ')) {
        if (column > indent && column + 1 + word.size() > width) {
            wrapped += u'\n' + QString(indent, u' ');
            column = indent;
        } else if (column > indent) {
            wrapped += u' ';
            ++column;
        }
        wrapped += word;
        column += word.size();
    }
    return wrapped;
}

/// Returns an entry of a table; a long term is on a separate line.
QString Entry(const QString& term, const QString& text)
{
    constexpr qsizetype indent = termWidth + 4;
    const QString gap = term.size() > termWidth ? u'\n' + QString(indent, u' ') : u"  "_s;
    return u"  "_s + term.leftJustified(termWidth) + gap + Wrapped(text, indent) + u'\n';
}

QStringList Dashed(const Option& option)
{
    QStringList names;
    for (const QString& name : option.names()) {
        names += (name.size() == 1 ? u"-"_s : u"--"_s) + name;
    }
    return names;
}

QString Term(const Option& option)
{
    const QString names = Dashed(option).join(u", "_s);
    return option.valueName().isEmpty() ? names : names + u' ' + option.valueName();
}

QString OptionTable(const Options& options)
{
    QString table;
    for (const Option& option : options) {
        table += Entry(Term(option), option.description());
    }
    return table;
}

QString FirstWord(const Command& command)
{
    return command.name.section(u' ', 0, 0);
}

/// Returns the first words of all commands, without duplicates.
QStringList FirstWords()
{
    QStringList words;
    for (const Command& command : Commands()) {
        words += FirstWord(command);
    }
    words.removeDuplicates();
    return words;
}

/// Returns the second words of the commands whose first word is `word`; empty if there are none.
QStringList SecondWords(const QString& word)
{
    QStringList words;
    for (const Command& command : Commands()) {
        if (command.name.startsWith(word + u' ')) {
            words += command.name.section(u' ', 1);
        }
    }
    return words;
}

bool TakesFiles(const QString& arguments)
{
    static const QRegularExpression fileLike(u"FILE|PATH|DIR|SOURCE|TARGET|LIBRARY|PROGRAM"_s);
    return arguments.contains(fileLike);
}

/// Returns the edit distance: the number of letters to insert, remove, replace or swap with a neighbour.
qsizetype Distance(const QString& a, const QString& b)
{
    QList<QList<qsizetype>> cost(a.size() + 1, QList<qsizetype>(b.size() + 1));
    for (qsizetype i = 0; i <= a.size(); ++i) {
        for (qsizetype k = 0; k <= b.size(); ++k) {
            if (i == 0 || k == 0) {
                cost[i][k] = std::max(i, k);
                continue;
            }
            const qsizetype replaced = a[i - 1] == b[k - 1] ? 0 : 1;
            cost[i][k] = std::min({cost[i - 1][k] + 1, cost[i][k - 1] + 1, cost[i - 1][k - 1] + replaced});
            if (i > 1 && k > 1 && a[i - 1] == b[k - 2] && a[i - 2] == b[k - 1]) {
                cost[i][k] = std::min(cost[i][k], cost[i - 2][k - 2] + 1);
            }
        }
    }
    return cost.back().back();
}

QString RoffEscaped(QString text)
{
    return text.replace(u'\\', "\\e"_L1).replace(u'-', "\\-"_L1).replace(u'\'', "\\(aq"_L1);
}

/// Returns `text` wrapped and escaped for roff. The lines stay short even with the escapes.
QString Roff(const QString& text)
{
    constexpr qsizetype width = 70;
    return RoffEscaped(Wrapped(text, 0, width));
}

QString RoffOptions(const Options& options)
{
    QString text;
    for (const Option& option : options) {
        text += u".TP\n\\fB"_s + Roff(Dashed(option).join(u", "_s)) + u"\\fR"_s;
        text += option.valueName().isEmpty() ? u"\n"_s : u" \\fI"_s + Roff(option.valueName()) + u"\\fR\n"_s;
        text += Roff(option.description()) + u'\n';
    }
    return text;
}

QString RoffCommand(const Command& command)
{
    QString text = u".SS "_s + Roff((command.name + u' ' + command.arguments).trimmed()) + u'\n' +
                   Roff(command.summary + u' ' + command.details).trimmed() + u'\n' +
                   RoffOptions(command.options);
    if (!command.example.isEmpty()) {
        text += u".PP\nExample:\n.PP\n.nf\n.RS\n"_s + RoffEscaped(command.example) + u"\n.RE\n.fi\n"_s;
    }
    return text;
}

QString ManualPage(const QString& date)
{
    QString text = u".TH VXTOOL 1 \"%1\" \"vxcommon %2\" \"User Commands\"\n"_s.arg(
        date, QCoreApplication::applicationVersion());
    text += u".SH NAME\nvxtool \\- %1\n.SH SYNOPSIS\n%2\n.SH DESCRIPTION\n%3\n"_s.arg(
        purpose, Roff(usage), Roff(description.first()) + u"\n.PP\n"_s + Roff(description.last()));
    text += u".SH OPTIONS\n"_s + RoffOptions(GlobalOptions() + ProgramOptions()) + u".SH COMMANDS\n"_s;
    for (const Command& command : Commands()) {
        text += RoffCommand(command);
    }
    text += u".SH EXIT STATUS\n"_s;
    for (const QString& line : exitStatus) {
        text += u".TP\n%1\n%2\n"_s.arg(line.left(1), Roff(line.mid(3)));
    }
    text += u".SH ENVIRONMENT\n.TP\nVXTOOL_KEY\nKey for encrypt, decrypt and json if no option sets one.\n"_s;
    return text;
}

/// Returns a shell pattern that matches all options with this value name. If the name is empty, matches all
/// options that take a value.
QString OptionPattern(const QString& valueName)
{
    Options options = GlobalOptions() + ProgramOptions();
    for (const Command& command : Commands()) {
        options += command.options;
    }
    QStringList names;
    for (const Option& option : std::as_const(options)) {
        if (valueName.isEmpty() ? !option.valueName().isEmpty() : option.valueName() == valueName) {
            names += Dashed(option);
        }
    }
    names.sort();
    names.removeDuplicates();
    return names.join(u'|');
}

QString OptionNames(const Options& options)
{
    QStringList names;
    for (const Option& option : options) {
        names += Dashed(option);
    }
    return names.join(u' ');
}

QString Template(const QString& shell)
{
    QFile file(u":/completion/"_s + shell);
    file.open(QFile::ReadOnly);
    return QString::fromUtf8(file.readAll());
}

QString BashCompletion()
{
    const QString firstWords = FirstWords().join(u' ');
    QString cases = u"    ' ') words='help %1' options+=' %2' ;;\n    'help ') words='%1' ;;\n"_s.arg(
        firstWords, OptionNames(ProgramOptions()));
    for (const QString& word : FirstWords()) {
        const QString second = SecondWords(word).join(u' ');
        if (!second.isEmpty()) {
            cases += u"    '%1 ' | 'help %1 ') words='%2' ;;\n"_s.arg(word, second);
        }
    }
    for (const Command& command : Commands()) {
        cases += u"    '%1 '*) options+=' %2' files=%3 ;;\n"_s.arg(
            command.name, OptionNames(command.options), TakesFiles(command.arguments) ? u"1"_s : QString());
    }
    return Template(u"bash"_s).arg(OptionNames(GlobalOptions()), OptionPattern(QString()),
                                   OptionPattern(u"FILE"_s), OptionPattern(u"DIR"_s), cases);
}

QString ZshQuoted(QString text)
{
    return u'\'' + text.replace(u'\'', "'\\''"_L1) + u'\'';
}

/// Returns the options as arguments of the zsh function _arguments, one per line.
QString ZshOptions(const Options& options)
{
    QString text;
    for (const Option& option : options) {
        const QStringList names = Dashed(option);
        QString help = option.description();
        help.replace(u'[', "\\["_L1).replace(u']', "\\]"_L1);
        const QString value = option.valueName();
        const QString action = value == "FILE"_L1 ? u"_files"_s : value == "DIR"_L1 ? u"_files -/"_s : u" "_s;
        for (const QString& name : names) {
            const QString spec = name + u'[' + help + u']';
            text += u"      "_s +
                    ZshQuoted(value.isEmpty() ? spec
                                              : spec + u':' + QString(value).remove(u':') + u':' + action) +
                    u'\n';
        }
    }
    return text;
}

/// Returns the branches of a zsh case statement that completes the options and arguments of each command.
QString ZshCases()
{
    QString cases;
    for (const Command& command : Commands()) {
        cases += u"    ('%1') _arguments $global \\\n%2      '*:%3:%4' ;;\n"_s.arg(
            command.name, ZshOptions(command.options).replace(u"\n"_s, u" \\\n"_s),
            TakesFiles(command.arguments) ? u"file"_s : u"argument"_s,
            TakesFiles(command.arguments) ? u"_files"_s : u" "_s);
    }
    return cases;
}

QString ZshCompletion()
{
    QString groups;
    QStringList words{u"'help:Show the help for a command.'"_s};
    for (const QString& word : FirstWords()) {
        QStringList second;
        for (const Command& command : Commands()) {
            if (command.name == word) {
                words += ZshQuoted(word + u':' + command.summary);
            } else if (command.name.startsWith(word + u' ')) {
                second += ZshQuoted(command.name.section(u' ', 1) + u':' + command.summary);
            }
        }
        if (!second.isEmpty()) {
            words += ZshQuoted(word + u':' + SecondWords(word).join(u", "_s));
            groups += u"    (%1) commands=(%2) ;;\n"_s.arg(word, second.join(u' '));
        }
    }
    return Template(u"zsh"_s).arg(ZshOptions(GlobalOptions()),
                                  ZshOptions(ProgramOptions()).replace(u"\n"_s, u" \\\n"_s),
                                  words.join(u"\n      "_s), FirstWords().join(u' '), groups, ZshCases());
}

} // namespace

Options GlobalOptions()
{
    return {
        {u"log"_s, u"Write a log to FILE, which only you can read. Roll over at 10 MiB; keep 3 backups."_s,
         u"FILE"_s},
        {u"log-level"_s, u"Log up to level N, from 0 (fatal) to 7 (debug) (default: 6)."_s, u"N"_s, u"6"_s},
        {u"log-source"_s, u"Add the source location to each log line."_s},
        {{u"q"_s, u"quiet"_s}, u"Print only results and errors, without progress or summary."_s},
        {{u"h"_s, u"help"_s}, u"Show this help."_s}};
}

Options ProgramOptions()
{
    return {{{u"V"_s, u"version"_s}, u"Show the version."_s},
            {u"callto"_s,
             u"Print ADDRESS, the rest of the command line. Clicking a link starts vxtool in this way."_s,
             u"ADDRESS"_s}};
}

QString MainHelp()
{
    QString text = u"Usage: "_s + usage + u"\n\n"_s;
    for (const QString& paragraph : description) {
        text += Wrapped(paragraph, 0) + u"\n\n"_s;
    }
    text += u"Commands:\n"_s;
    for (const Command& command : Commands()) {
        text += Entry(command.name, command.summary);
    }
    text += u"\nOptions of every command:\n"_s + OptionTable(GlobalOptions()) + u"\nOther options:\n"_s +
            OptionTable(ProgramOptions()) + u"\nExit status:\n  "_s + exitStatus.join(u"\n  "_s);
    return text + u"\n\n'vxtool help COMMAND' shows the options of a command and an example."_s;
}

QString CommandHelp(const Command& command)
{
    QString text =
        u"Usage: "_s + u"vxtool %1 [OPTION...] %2"_s.arg(command.name, command.arguments).trimmed();
    text += u"\n\n"_s + Wrapped(command.summary, 0);
    if (!command.details.isEmpty()) {
        text += u"\n\n"_s + Wrapped(command.details, 0);
    }
    if (!command.options.isEmpty()) {
        text += u"\n\nOptions:\n"_s + OptionTable(command.options).chopped(1);
    }
    if (!command.example.isEmpty()) {
        text += u"\n\nExample:\n  "_s + command.example;
    }
    return text + u"\n\n'vxtool help' shows the options that every command accepts."_s;
}

QString GroupHelp(const QString& word)
{
    QString text;
    for (const Command& command : Commands()) {
        if (FirstWord(command) == word) {
            text += Entry(command.name, command.summary);
        }
    }
    return text.chopped(text.isEmpty() ? 0 : 1);
}

QString ClosestTo(const QString& mistyped, const QStringList& names)
{
    QString closest;
    qsizetype least = std::max<qsizetype>(1, mistyped.size() / 3) + 1;
    for (const QString& name : names) {
        const qsizetype distance = Distance(mistyped, name);
        if (distance < least) {
            least = distance;
            closest = name;
        }
    }
    return closest;
}

QString Page(const QString& kind, const QString& date)
{
    return kind == "man"_L1    ? ManualPage(date)
           : kind == "bash"_L1 ? BashCompletion()
           : kind == "zsh"_L1  ? ZshCompletion()
                               : QString();
}

} // namespace vxtool::reference
