#include "../copyonce.h"

#include "../../platform/win/uniquehandle.h"
#include "nativepath.h"

#include <windows.h>

namespace common
{

namespace
{

/// Opens a file so that it cannot be replaced until it is closed.
platform::UniqueHandle Hold(const std::wstring& path, bool refuseLink)
{
    return platform::UniqueHandle(::CreateFileW(path.c_str(), GENERIC_READ,
                                                FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                                refuseLink ? FILE_FLAG_OPEN_REPARSE_POINT : 0, nullptr));
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
    const platform::UniqueHandle file = Hold(from, source.IsHeld());
    if (!file.IsOpen() || !IsRegular(file.Get())) {
        return CopyResult::NotForMe;
    }
    if (::CopyFileW(from.c_str(), to.c_str(), TRUE) != 0) {
        return CopyResult::Copied;
    }
    const DWORD error = ::GetLastError();
    return error == ERROR_FILE_EXISTS || error == ERROR_PATH_NOT_FOUND ? CopyResult::NotForMe
                                                                       : CopyResult::Failed;
}

} // namespace common
