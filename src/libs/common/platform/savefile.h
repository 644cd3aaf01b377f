#pragma once

class QByteArray;
class QString;

namespace common::platform
{

enum class SaveOutcome
{
    Saved,
    CannotOpen, ///< Nothing was changed.
    CannotWrite ///< The old file is unchanged unless a write in place failed.
};

enum class FileAccess
{
    Usual,     ///< An existing file keeps its permissions; a new one gets the default permissions.
    OwnerOnly, ///< As Usual, but only the owner can read a new file.
    Executable ///< As Usual, and everyone can execute the file.
};

/**
 * Replaces the content of the file at `path` with `bytes`. The directory must exist. Thread-safe.
 *
 * Writes a temporary file beside the old one and renames it, so that a full disk or a killed process leaves
 * the old file intact. Writes in place if the old file is not a regular file, or if a rename would lose its
 * owner, group, access control list or hard links. Also writes in place if the directory does not allow the
 * temporary file or the rename. Follows symbolic links. Extended attributes other than the access control
 * list are lost in a rename.
 */
SaveOutcome SaveFile(const QString& path, const QByteArray& bytes, FileAccess access = FileAccess::Usual);

} // namespace common::platform
