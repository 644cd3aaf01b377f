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
    Failed,  ///< The copy failed; no partial file remains.
    NotForMe ///< Nothing was copied, for example because the destination already exists.
};

/**
 * Copies a regular file to an unused name in an existing directory. On Linux, the copy gets the permissions
 * that QFile::copy would set, determined from the open file. If the file system supports unnamed files, a
 * copy of more than 64 KiB appears under its name only when it is complete.
 *
 * @param makeRoom called when the copy is complete, to free the destination name. If it returns false, the
 * result is Failed. If the system cannot create an unnamed file, the result is NotForMe and `makeRoom` is
 * not called.
 */
CopyResult CopyQuickly(const FilePlace& source, const FilePlace& destination,
                       const std::function<bool()>& makeRoom = {});

/**
 * Copies like QFile::copy, but does not flush the copy to the disk. On Linux, QFile::copy calls fdatasync,
 * which takes several times as long as copying a small file.
 */
bool CopyOnce(QFile& file, const QString& newName);

} // namespace common
