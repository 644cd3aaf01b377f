#include "../copyonce.h"

#include "nativepath.h"

#include <windows.h>

namespace common
{

namespace
{

/// Opens a file so that nobody can put another one in its place until it is closed.
HANDLE Hold(const std::wstring& path, bool refuseLink)
{
    return ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         OPEN_EXISTING, refuseLink ? FILE_FLAG_OPEN_REPARSE_POINT : 0, nullptr);
}

bool IsRegular(HANDLE file)
{
    FILE_ATTRIBUTE_TAG_INFO information = {};
    return ::GetFileType(file) == FILE_TYPE_DISK &&
           (::GetFileInformationByHandleEx(file, FileAttributeTagInfo, &information, sizeof information) ==
                0 ||
            (information.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0 ||
            !IsReparseTagNameSurrogate(information.ReparseTag));
}

} // namespace

CopyResult CopyQuickly(const FilePlace& source, const FilePlace& destination,
                       const std::function<bool()>& makeRoom)
{
    if (makeRoom || source.Path().isEmpty() || destination.Path().isEmpty()) {
        return CopyResult::NotForMe;
    }
    const std::wstring from = NativePath(source.Path());
    const std::wstring to = NativePath(destination.Path());
    if (::GetFileAttributesW(to.c_str()) != INVALID_FILE_ATTRIBUTES) {
        return CopyResult::NotForMe;
    }
    const HANDLE file = Hold(from, source.IsHeld());
    if (file == INVALID_HANDLE_VALUE) {
        return CopyResult::NotForMe;
    }
    CopyResult result = CopyResult::NotForMe;
    if (IsRegular(file)) {
        const bool copied = ::CopyFileW(from.c_str(), to.c_str(), TRUE) != 0;
        const DWORD error = ::GetLastError();
        if (copied) {
            result = CopyResult::Copied;
        } else if (error != ERROR_FILE_EXISTS && error != ERROR_PATH_NOT_FOUND) {
            result = CopyResult::Failed;
        }
    }
    ::CloseHandle(file);
    return result;
}

} // namespace common
