#pragma once

class QFile;
class QString;

namespace common
{

/**
 * Copies a regular file to a name that is free, in a folder that is there, if the system can do that by
 * itself. False leaves everything as it was and tells nothing about the reason.
 */
bool CopyQuickly(const QString& source, const QString& newName);

/**
 * QFile::copy with all its outcomes: what exists is not overwritten, the copy appears under its name only
 * when it is whole (on Linux), and it gets the permissions that QFile::copy would give it.
 *
 * The one difference: success does not wait for the disk. On Linux QFile::copy does (fdatasync), which takes
 * several times as long as the copying of a small file itself.
 */
bool CopyOnce(QFile& file, const QString& newName);

} // namespace common
