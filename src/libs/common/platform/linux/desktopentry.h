#pragma once

#include <QString>
#include <QStringList>

namespace common::platform
{

/**
 * The command line of an Exec key of a desktop entry, by the quoting rules of the freedesktop.org Desktop
 * Entry standard: each argument arrives as it is, a percent sign too. Not yet escaped as a value of the
 * file.
 */
QString DesktopExec(const QString& program, const QStringList& arguments);

/// One "key=value" line of a desktop entry with the escapes of a string value.
QString DesktopEntryLine(const QString& key, const QString& value);

} // namespace common::platform
