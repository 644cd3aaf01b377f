#include "../replaceablefile.h"

#include <QFile>

#include <cstring>
#include <memory>

#include <windows.h>

#include <aclapi.h>
#include <io.h>

namespace common::platform
{

namespace
{

HANDLE HandleOf(int file)
{
    return reinterpret_cast<HANDLE>(::_get_osfhandle(file));
}

/// Owner and access control list of an open file (null on FAT). The pointers point into `descriptor`.
struct Security
{
    explicit Security(HANDLE file)
    {
        PSECURITY_DESCRIPTOR data = nullptr;
        ::GetSecurityInfo(file, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
                          &owner, nullptr, &accessList, nullptr, &data);
        descriptor.reset(data);
    }

    PSID owner = nullptr;
    PACL accessList = nullptr;
    std::unique_ptr<void, decltype(&::LocalFree)> descriptor{nullptr, &::LocalFree};
};

bool IsSame(const ACL* a, const ACL* b)
{
    return a == b || (a && b && a->AclSize == b->AclSize && std::memcmp(a, b, a->AclSize) == 0);
}

bool IsSame(const Security& a, const Security& b)
{
    return a.owner && b.owner && ::EqualSid(a.owner, b.owner) && IsSame(a.accessList, b.accessList);
}

} // namespace

bool IsReplaceable(const QString& path, int newFile)
{
    QFile oldFile(path);
    BY_HANDLE_FILE_INFORMATION information{};
    return oldFile.open(QIODevice::ReadOnly) &&
           ::GetFileInformationByHandle(HandleOf(oldFile.handle()), &information) &&
           information.nNumberOfLinks == 1 &&
           IsSame(Security(HandleOf(oldFile.handle())), Security(HandleOf(newFile)));
}

} // namespace common::platform
