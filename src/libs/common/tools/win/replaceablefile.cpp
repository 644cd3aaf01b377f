#include "../replaceablefile.h"

#include <QDir>
#include <QString>

#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>

#include <windows.h>

#include <aclapi.h>
#include <io.h>

namespace tools
{

namespace
{

/// Owner and access control list of a file. The pointers are into the descriptor.
struct Security
{
    PSID owner = nullptr;
    PACL accessList = nullptr;
    std::unique_ptr<void, decltype(&::LocalFree)> descriptor{nullptr, &::LocalFree};
};

constexpr SECURITY_INFORMATION securityParts = OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;

bool IsEqual(const Security& a, const Security& b)
{
    return a.descriptor && b.descriptor && a.accessList && b.accessList && ::EqualSid(a.owner, b.owner) &&
           a.accessList->AclSize == b.accessList->AclSize &&
           std::memcmp(a.accessList, b.accessList, a.accessList->AclSize) == 0;
}

Security SecurityOf(HANDLE file)
{
    Security security;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    ::GetSecurityInfo(file, SE_FILE_OBJECT, securityParts, &security.owner, nullptr, &security.accessList,
                      nullptr, &descriptor);
    security.descriptor.reset(descriptor);
    return security;
}

Security SecurityOf(std::wstring path)
{
    Security security;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    ::GetNamedSecurityInfoW(path.data(), SE_FILE_OBJECT, securityParts, &security.owner, nullptr,
                            &security.accessList, nullptr, &descriptor);
    security.descriptor.reset(descriptor);
    return security;
}

} // namespace

bool IsReplaceable(const QString& path, int newFile)
{
    const std::wstring oldFile = QDir::toNativeSeparators(path).toStdWString();
    std::error_code error;
    return std::filesystem::hard_link_count(oldFile, error) == 1 &&
           IsEqual(SecurityOf(oldFile), SecurityOf(reinterpret_cast<HANDLE>(::_get_osfhandle(newFile))));
}

} // namespace tools
