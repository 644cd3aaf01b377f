#pragma once

#include "command.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>

namespace vxtool
{

/**
 * Calls `handle` for each argument. If there are none, calls it for each line of standard input (UTF-8) as
 * the line arrives.
 *
 * @return whether all input was read and `handle` always returned true
 */
[[nodiscard]] bool ForEachInput(const QStringList& arguments,
                                const std::function<bool(const QString&)>& handle);

/// Reads a whole file; "-" is standard input. Prints an error on failure.
bool ReadInput(const QString& path, QByteArray& bytes);

/// Reads the file that the only argument names, or standard input if there is no argument. Prints an error
/// on failure.
bool ReadInput(const QStringList& arguments, QByteArray& bytes);

/// If `option` is set, reads its value, an integer from `least` to `most`. Reports any other value as an
/// error.
bool ReadNumber(const QCommandLineParser& parser, const Option& option, qint64 least, qint64 most,
                qint64& number);

/// If `option` is set, reads its value, a number of seconds from 0 to one day, such as 2.5. Reports any
/// other value as an error.
bool ReadSeconds(const QCommandLineParser& parser, const Option& option, double& seconds);

} // namespace vxtool
