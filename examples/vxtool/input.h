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

/// Reads a whole file; "-" is standard input. Complains on failure.
bool ReadInput(const QString& path, QByteArray& bytes);

/// Reads the file that the only argument names; standard input if there is no argument. Complains on failure.
bool ReadInput(const QStringList& arguments, QByteArray& bytes);

/// If `option` is set, reads its value, an integer from `least` to `most`. Complains about any other value.
bool ReadNumber(const QCommandLineParser& parser, const Option& option, qint64 least, qint64 most,
                qint64& number);

/// If `option` is set, reads its value, a number of seconds up to one day, such as 2.5. Complains about any
/// other value.
bool ReadSeconds(const QCommandLineParser& parser, const Option& option, double& seconds);

} // namespace vxtool
