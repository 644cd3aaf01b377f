#include "desktopentry.h"

#include <algorithm>
#include <utility>

namespace common::platform
{

namespace
{

bool NeedsQuotes(const QString& argument)
{
    const QStringView reserved = u" \t\n\"'\\><~|&;$*?#()`";
    return argument.isEmpty() || std::any_of(argument.begin(), argument.end(),
                                             [reserved](QChar c) { return reserved.contains(c); });
}

QString Quoted(const QString& argument)
{
    QString text;
    for (const QChar character : argument) {
        if (QStringLiteral("\"`$\\").contains(character)) {
            text += u'\\';
        }
        text += character;
        if (character == u'%') {
            text += character; // A single "%" would begin a field code.
        }
    }
    return NeedsQuotes(argument) ? u'"' + text + u'"' : text;
}

} // namespace

QStringList SplitArguments(const QString& arguments)
{
    QStringList words;
    QString word;
    bool isInWord = false;
    bool isQuoted = false;
    qsizetype quotes = 0;
    for (const QChar character : arguments + u' ') {
        if (character == u'"') {
            isInWord = true;
            if (++quotes == 3) {
                quotes = 0;
                word += character;
            }
            continue;
        }
        isQuoted = isQuoted != (quotes == 1);
        quotes = 0;
        if (isQuoted || !character.isSpace()) {
            isInWord = true;
            word += character;
        } else if (std::exchange(isInWord, false)) {
            words += std::exchange(word, QString());
        }
    }
    // The closing quote may be missing.
    return isInWord ? words + QStringList(word.chopped(1)) : words;
}

QString DesktopExec(const QString& program, const QStringList& arguments)
{
    QStringList words = QStringList(program) + arguments;
    if (program.contains(u'%') || program.contains(u'=')) {
        // The name of the program must not contain "=", and GLib looks it up without unescaping "%%".
        words = QStringList{QStringLiteral("/bin/sh"), QStringLiteral("-c"), QStringLiteral("exec \"$@\""),
                            QStringLiteral("sh")} +
                words;
    }
    for (QString& word : words) {
        word = Quoted(word);
    }
    return words.join(u' ');
}

QString DesktopEntryLine(const QString& key, const QString& value)
{
    QString text = value;
    text.replace(u'\\', QLatin1String("\\\\"));
    text.replace(u'\n', QLatin1String("\\n"));
    text.replace(u'\r', QLatin1String("\\r"));
    text.replace(u'\t', QLatin1String("\\t"));
    if (text.startsWith(u' ')) {
        text.replace(0, 1, QLatin1String("\\s"));
    }
    return key + u'=' + text + u'\n';
}

} // namespace common::platform
