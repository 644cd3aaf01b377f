#pragma once

#include <QString>
#include <QStringList>

namespace common
{

/**
 * Starts a program in a separate session as a child of the init process, which reaps it. Of
 * the descriptors of this process it gets 0, 1 and 2 only.
 *
 * @param program path, relative to `workingDirectory`, or bare name that is looked up in PATH
 * @param workingDirectory empty for the one of this process
 * @return 0 once the program runs; else the `errno` that says why it could not be started
 */
int SpawnDetached(const QString& program, const QStringList& arguments, const QString& workingDirectory);

} // namespace common
