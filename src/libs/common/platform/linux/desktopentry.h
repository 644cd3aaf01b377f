#pragma once

#include <QString>
#include <QStringList>

namespace common::platform
{

/**
 * Splits a command line at white space outside of double quotes. Three consecutive double quotes yield one
 * literal quote. Unlike QProcess::splitCommand, keeps an empty argument between quotes.
 */
QStringList SplitArguments(const QString& arguments);

/**
 * Returns the command line of an Exec key of a desktop entry, quoted by the rules of the freedesktop.org
 * Desktop Entry standard. Each argument reaches the program verbatim, including percent signs. The result
 * must still be escaped; see DesktopEntryLine.
 */
QString DesktopExec(const QString& program, const QStringList& arguments);

/// Returns one "key=value" line of a desktop entry, with the value escaped as a string.
QString DesktopEntryLine(const QString& key, const QString& value);

} // namespace common::platform
