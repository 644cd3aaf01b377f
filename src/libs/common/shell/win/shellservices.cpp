#include "../shellservices.h"

#include "../../platform/win/systemdirectory.h"
#include "../../platform/win/uniquehandle.h"
#include "../filepath.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>

#include <array>
#include <cstring>
#include <cwchar>
#include <string>

#include <qt_windows.h>
#include <shlobj.h>
#include <wrl/client.h>

namespace common::shellservices
{

namespace
{

using Microsoft::WRL::ComPtr;

/// PKEY_AppUserModel_ID; its definition in the system headers needs a library that not every compiler
/// provides.
constexpr PROPERTYKEY appUserModelIdKey{
    {0x9F4C2855, 0x9F79, 0x4B39, {0xA8, 0xD0, 0xE1, 0xD4, 0x2D, 0xE1, 0xD5, 0xF3}}, 5};

/// Maximum length of a removal command line in characters. Kept for compatibility: a longer one is truncated.
constexpr qsizetype maxRemovalCommand = 519;

int FolderId(Folder folder)
{
    switch (folder) {
    case Folder::Desktop:
        return CSIDL_DESKTOPDIRECTORY;
    case Folder::Programs:
        return CSIDL_PROGRAMS;
    case Folder::ApplicationData:
        break;
    }
    return CSIDL_APPDATA;
}

const wchar_t* WideText(const QString& text)
{
    return reinterpret_cast<const wchar_t*>(text.utf16());
}

/// Returns a string that PropVariantClear may free.
PROPVARIANT OwnedText(const QString& text)
{
    PROPVARIANT value{};
    const std::size_t size = (static_cast<std::size_t>(text.size()) + 1) * sizeof(wchar_t);
    auto* copy = static_cast<wchar_t*>(CoTaskMemAlloc(size));
    if (copy != nullptr) {
        std::memcpy(copy, text.utf16(), size);
        value.vt = VT_LPWSTR;
        value.pwszVal = copy;
    }
    return value;
}

void SetApplicationId(IShellLinkW* link, const QString& applicationId)
{
    ComPtr<IPropertyStore> properties;
    if (FAILED(link->QueryInterface(IID_PPV_ARGS(properties.GetAddressOf())))) {
        return;
    }
    PROPVARIANT value = OwnedText(applicationId);
    if (value.vt == VT_LPWSTR && SUCCEEDED(properties->SetValue(appUserModelIdKey, value))) {
        properties->Commit();
    }
    PropVariantClear(&value);
}

/// Returns this process's environment with a variable that prevents the command interpreter from running a
/// ping program planted in its current directory.
std::wstring CommandEnvironment()
{
    QStringList entries{QStringLiteral("NoDefaultCurrentDirectoryInExePath=1")};
    wchar_t* const own = GetEnvironmentStringsW();
    for (const wchar_t* entry = own; entry != nullptr && *entry != L'\0'; entry += std::wcslen(entry) + 1) {
        entries += QString::fromWCharArray(entry);
    }
    FreeEnvironmentStringsW(own);
    entries.sort(Qt::CaseInsensitive); // CreateProcessW expects sorted entries.
    return (entries.join(QChar(u'\0')) + QChar(u'\0')).toStdWString();
}

} // namespace

QString FolderPath(Folder folder)
{
    std::array<wchar_t, MAX_PATH> path{};
    SHGetSpecialFolderPathW(nullptr, path.data(), FolderId(folder), TRUE);
    path.back() = L'\0';
    return QString::fromWCharArray(path.data());
}

QString ExecutablePath()
{
    std::array<wchar_t, MAX_PATH> path{};
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), MAX_PATH);
    return QString::fromWCharArray(path.data(), static_cast<qsizetype>(length));
}

std::optional<bool> SelectInFileManager(const QString& path)
{
    const QString native = QDir::toNativeSeparators(path);
    auto* const items = ILCreateFromPathW(WideText(native));
    if (items == nullptr) {
        return std::nullopt;
    }
    const HRESULT result = SHOpenFolderAndSelectItems(items, 0, nullptr, 0);
    ILFree(items);
    return result == S_OK;
}

bool StartFileManager(const QString& path, QString& command)
{
    const QString prefix = QFileInfo(path).isDir() ? QString() : QStringLiteral("/select,");
    // Kept for compatibility: the whole line is passed as the name of a program.
    command = QLatin1String("explorer.exe ") + prefix + QDir::toNativeSeparators(path);
    return QProcess::startDetached(command, QStringList(), QString(), nullptr);
}

bool SaveShortcut(const Shortcut& shortcut, const QString& path)
{
    ComPtr<IShellLinkW> link;
    if (FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER,
                                IID_PPV_ARGS(link.GetAddressOf())))) {
        return false;
    }
    link->SetPath(WideText(shortcut.target));
    link->SetWorkingDirectory(WideText(shortcut.workingDirectory));
    link->SetArguments(WideText(shortcut.arguments));
    link->SetDescription(WideText(shortcut.description));
    if (!shortcut.applicationId.isEmpty()) {
        SetApplicationId(link.Get(), shortcut.applicationId);
    }
    ComPtr<IPersistFile> file;
    return SUCCEEDED(link->QueryInterface(IID_PPV_ARGS(file.GetAddressOf()))) &&
           SUCCEEDED(file->Save(WideText(path), TRUE));
}

unsigned long StartRemoval(const QString& directory, const QString& workingDirectory, QString& command)
{
    // The ping only provides the delay. The path is absolute, because the interpreter runs in another
    // directory.
    command = (QLatin1String("cmd.exe /C \"ping 1.1.1.1 -n 1 -w 5000 > Nul & rmdir /S /Q \"") +
               QDir::toNativeSeparators(ResolvedPath(directory)) + u'"')
                  .left(maxRemovalCommand);
    std::wstring line = command.toStdWString(); // CreateProcessW may modify the string.
    std::wstring environment = CommandEnvironment();
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    // A bare name could start an interpreter planted in the current directory.
    if (CreateProcessW(WideText(platform::InSystemDirectory(QStringLiteral("cmd.exe"))), line.data(), nullptr,
                       nullptr, FALSE, CREATE_NO_WINDOW | CREATE_UNICODE_ENVIRONMENT, environment.data(),
                       WideText(workingDirectory), &startup, &process) == 0) {
        return GetLastError();
    }
    const platform::UniqueHandle thread(process.hThread);
    const platform::UniqueHandle started(process.hProcess);
    return 0;
}

} // namespace common::shellservices
