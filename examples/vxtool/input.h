#pragma once

#include "command.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>

namespace vxtool
{

/**
 * Calls `handle` for each argument or, with none, for each line of standard input (UTF-8), as it arrives.
 *
 * @return whether all was read and `handle` returned true each time
 */
[[nodiscard]] bool ForEachInput(const QStringList& arguments,
                                const std::function<bool(const QString&)>& handle);

/// Reads a whole file; "-" is standard input. Complains on failure.
bool ReadInput(const QString& path, QByteArray& bytes);

/// Reads the file that the only argument names or, with none, standard input. Complains on failure.
bool ReadInput(const QStringList& arguments, QByteArray& bytes);

/// If `option` is set, reads its value, an integer from `least` to `most`. Complains about any other value.
bool ReadNumber(const QCommandLineParser& parser, const Option& option, qint64 least, qint64 most,
                qint64& number);

/// If `option` is set, reads its value, seconds such as 2.5, at most a day. Complains about any other value.
bool ReadSeconds(const QCommandLineParser& parser, const Option& option, double& seconds);

} // namespace vxtool
