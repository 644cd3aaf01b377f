#pragma once

class QFile;
class QString;

namespace common
{

/**
 * QFile::copy with all its outcomes: what exists is not overwritten, the copy appears under its name only
 * when it is whole, and it gets the permissions that QFile::copy would give it.
 *
 * The one difference: success does not wait for the disk. On Linux QFile::copy does (fdatasync), which takes
 * several times as long as the copying of a small file itself.
 */
bool CopyOnce(QFile& file, const QString& newName);

} // namespace common
