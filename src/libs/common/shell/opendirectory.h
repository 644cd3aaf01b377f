#pragma once

#include "fileid.h"

#include <QString>

#include <cstdint>
#include <utility>
#include <vector>

namespace common
{

/**
 * A directory that is held open. Operations through the object act on this directory, even if another
 * directory or a link replaces it. On Windows, it cannot be renamed or removed while it is held open.
 *
 * A directory that only Qt can read, such as a resource, counts as open, too.
 */
class OpenDirectory
{
public:
    enum class Access
    {
        List, ///< Allows listing and access to entries.
        Pass  ///< Allows only access to entries.
    };
    enum class Link
    {
        Follow,
        Refuse
    };

    OpenDirectory() = default;
    OpenDirectory(OpenDirectory&& other) noexcept { Swap(other); }
    OpenDirectory& operator=(OpenDirectory&& other) noexcept
    {
        Swap(other);
        return *this;
    }
    ~OpenDirectory();

    /// Opens an absolute path, following links.
    static OpenDirectory Open(const QString& path, Access access);
    OpenDirectory OpenChild(const QString& name, Access access, Link link) const;
    /// Creates a subdirectory. Returns false if the name exists.
    bool MakeChild(const QString& name) const;

    bool IsOpen() const { return !path.isEmpty(); }
    bool IsMissing() const { return missing; } ///< Whether opening failed because the directory is missing.
    bool IsHeld() const { return native != none; }

    std::intptr_t Native() const { return native; } ///< The descriptor or handle.
    /// Returns a path to this directory, valid while it is held open; not for display.
    const QString& Path() const { return path; }
    const FileId& Id() const { return id; }
    /// Returns whether the directory has the same id when it is opened again. FAT, exFAT and FUSE file
    /// systems may assign a new id under memory pressure.
    bool HasLastingId() const;

private:
    Q_DISABLE_COPY(OpenDirectory)

    static constexpr std::intptr_t none = -1;

    void Swap(OpenDirectory& other) noexcept
    {
        std::swap(native, other.native);
        std::swap(path, other.path);
        std::swap(id, other.id);
        std::swap(missing, other.missing);
    }

    std::intptr_t native = none;
    QString path;
    FileId id = {};
    bool missing = false;
};

/// A name in a directory, or a path.
struct FilePlace
{
    const OpenDirectory* directory; ///< Null for a path.
    QString name;

    /// Returns whether the name is in a directory held open. If so, do not follow a link of that name.
    bool IsHeld() const { return directory != nullptr && directory->IsHeld(); }
    /// Returns a path for Qt's functions, not for display. Empty if the directory is not open.
    QString Path() const
    {
        if (directory == nullptr) {
            return name;
        }
        return directory->IsOpen() ? directory->Path() + u'/' + name : QString();
    }
};

enum class Removal
{
    Done,
    Missing,
    Failed
};

/// Removes a file or a link of any kind, never the target of a link.
Removal RemoveFileOrLink(const FilePlace& place);
/// Clears the read-only attribute, which prevents removal on Windows. Returns false on Linux.
bool AllowRemoval(const FilePlace& place);
/// Removes an empty directory.
Removal RemoveEmptyDirectory(const FilePlace& place);

} // namespace common
