#include "../opendirectory.h"

#include "nativepath.h"

#include <QDir>
#include <QFile>

#include <windows.h>

namespace common
{

namespace
{

/// Returns whether an open directory is a link or a junction. Other reparse points, such as directories of
/// cloud drives, do not count.
bool IsElsewhere(HANDLE directory)
{
    FILE_ATTRIBUTE_TAG_INFO information = {};
    return ::GetFileInformationByHandleEx(directory, FileAttributeTagInfo, &information,
                                          sizeof information) != 0 &&
           (information.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           IsReparseTagNameSurrogate(information.ReparseTag);
}

bool IsMissingError(DWORD error)
{
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND || error == ERROR_DIRECTORY ||
           error == ERROR_INVALID_NAME;
}

Removal ResultOf(bool removed)
{
    if (removed) {
        return Removal::Done;
    }
    return IsMissingError(::GetLastError()) ? Removal::Missing : Removal::Failed;
}

} // namespace

OpenDirectory::~OpenDirectory()
{
    if (native != none) {
        ::CloseHandle(reinterpret_cast<HANDLE>(native));
    }
}

OpenDirectory OpenDirectory::Open(const QString& path, Access access)
{
    OpenDirectory opened;
    if (path.isEmpty() || path.startsWith(u':')) {
        opened.missing = path.isEmpty() || !QDir(path).exists();
        opened.path = opened.missing ? QString() : path;
        return opened;
    }
    OpenDirectory parent;
    return parent.OpenChild(path, access, Link::Follow);
}

// Does not set FILE_SHARE_DELETE, so that the open directory can be neither renamed nor removed.
OpenDirectory OpenDirectory::OpenChild(const QString& name, Access access, Link link) const
{
    const QString childPath = IsOpen() ? path + u'/' + name : name;
    if (IsOpen() && !IsHeld()) {
        return Open(childPath, access);
    }
    OpenDirectory opened;
    const DWORD flags =
        FILE_FLAG_BACKUP_SEMANTICS | (link == Link::Refuse ? FILE_FLAG_OPEN_REPARSE_POINT : 0);
    const HANDLE handle = ::CreateFileW(
        NativePath(childPath).c_str(), access == Access::List ? FILE_LIST_DIRECTORY : FILE_TRAVERSE,
        FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, flags, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        opened.missing = IsMissingError(::GetLastError());
        return opened;
    }
    BY_HANDLE_FILE_INFORMATION information = {};
    const bool isKnown = ::GetFileInformationByHandle(handle, &information) != 0;
    const bool isDirectory = isKnown && (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (isDirectory && (link == Link::Follow || !IsElsewhere(handle))) {
        opened.native = reinterpret_cast<std::intptr_t>(handle);
        opened.path = childPath;
        opened.id = IdOf(information);
    } else {
        opened.missing = isKnown && !isDirectory;
        ::CloseHandle(handle); // An open file or directory cannot be removed.
    }
    return opened;
}

bool OpenDirectory::HasLastingId() const
{
    return true;
}

bool OpenDirectory::MakeChild(const QString& name) const
{
    return QDir().mkdir(path + u'/' + name);
}

Removal RemoveFileOrLink(const FilePlace& place)
{
    const QString path = place.Path();
    constexpr DWORD directoryLink = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    const std::wstring native = NativePath(path);
    const DWORD attributes = ::GetFileAttributesW(native.c_str());
    if (path.isEmpty() || attributes == INVALID_FILE_ATTRIBUTES) {
        return path.isEmpty() ? Removal::Missing : ResultOf(false);
    }
    // On Windows, a link to a directory is removed in the same way as an empty directory.
    const bool isDirectoryLink = (attributes & directoryLink) == directoryLink;
    return ResultOf(isDirectoryLink ? ::RemoveDirectoryW(native.c_str()) != 0
                                    : ::DeleteFileW(native.c_str()) != 0);
}

bool AllowRemoval(const FilePlace& place)
{
    const std::wstring native = NativePath(place.Path());
    const DWORD attributes = ::GetFileAttributesW(native.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0 &&
           ::SetFileAttributesW(native.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY}) != 0;
}

Removal RemoveEmptyDirectory(const FilePlace& place)
{
    return place.Path().isEmpty() ? Removal::Missing
                                  : ResultOf(::RemoveDirectoryW(NativePath(place.Path()).c_str()) != 0);
}

} // namespace common
