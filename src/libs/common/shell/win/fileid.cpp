#include "../fileid.h"

#include "nativepath.h"

namespace common
{

namespace
{

std::optional<FileId> GetId(const QString& path, DWORD flags)
{
    const HANDLE file =
        ::CreateFileW(NativePath(path).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                      nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | flags, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return std::nullopt;
    }
    BY_HANDLE_FILE_INFORMATION information = {};
    const bool known = ::GetFileInformationByHandle(file, &information) != 0;
    ::CloseHandle(file);
    const FileId id = IdOf(information);
    // Some network drives give every file the index 0.
    return known && id.file != 0 ? std::optional(id) : std::nullopt;
}

} // namespace

std::optional<FileId> GetFileId(const QString& path)
{
    return GetId(path, FILE_FLAG_OPEN_REPARSE_POINT);
}

std::optional<FileId> GetTargetId(const QString& path)
{
    return GetId(path, 0);
}

} // namespace common
