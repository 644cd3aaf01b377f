#include "../fileid.h"

#include "../../platform/win/uniquehandle.h"
#include "nativepath.h"

namespace common
{

namespace
{

std::optional<FileId> GetId(const QString& path, DWORD flags)
{
    const platform::UniqueHandle file(
        ::CreateFileW(NativePath(path).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                      nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | flags, nullptr));
    BY_HANDLE_FILE_INFORMATION information = {};
    const bool known = file.IsOpen() && ::GetFileInformationByHandle(file.Get(), &information) != 0;
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
