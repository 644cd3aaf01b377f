#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>

namespace vxtool
{

/**
 * Calls `handle` for each argument or, with none, for each line of standard input (UTF-8), as it comes.
 *
 * @return whether all was read and `handle` returned true each time
 */
[[nodiscard]] bool ForEachInput(const QStringList& arguments,
                                const std::function<bool(const QString&)>& handle);

/// Reads the file that `arguments` names or, with none, standard input, as a whole; complains if that fails.
bool ReadInput(const QStringList& arguments, QByteArray& bytes);

} // namespace vxtool
