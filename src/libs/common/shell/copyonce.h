#pragma once

#include "opendirectory.h"

#include <functional>

class QFile;
class QString;

namespace common
{

enum class CopyResult
{
    Copied,
    Failed,  ///< Nothing is left of the attempt.
    NotForMe ///< Nothing was attempted: the source is no regular file, or the destination is not free.
};

/**
 * Copies a regular file to a name that is free, in a directory that exists. On Linux the copy gets the
 * permissions that QFile::copy would give it, from the file that was opened, and a large one appears under
 * its name only when it is whole.
 *
 * @param makeRoom is called when the copy is whole, to free its name. If it returns false, the attempt has
 * failed. If the system cannot make a file without a name, the result is NotForMe and it is not called.
 */
CopyResult CopyQuickly(const FilePlace& source, const FilePlace& destination,
                       const std::function<bool()>& makeRoom = {});

/**
 * QFile::copy with all its outcomes, apart from one: success does not wait for the disk. On Linux QFile::copy
 * does (fdatasync), which takes several times as long as the copying of a small file itself.
 */
bool CopyOnce(QFile& file, const QString& newName);

} // namespace common
