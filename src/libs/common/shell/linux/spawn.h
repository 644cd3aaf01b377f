#pragma once

#include <QString>
#include <QStringList>

namespace common
{

/**
 * Starts a program in a separate session as a child of the init process, which reaps it. The program inherits
 * only descriptors 0, 1 and 2 of this process.
 *
 * @param program absolute path, path relative to `workingDirectory`, or bare name to look up in PATH
 * @param workingDirectory empty for that of this process
 * @return 0 if the program runs, otherwise the `errno` of the failed start
 */
int SpawnDetached(const QString& program, const QStringList& arguments, const QString& workingDirectory);

} // namespace common
