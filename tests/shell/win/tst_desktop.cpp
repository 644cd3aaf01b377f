#include <common/shell/shell.h>

#include <logger/recordinglogger.h>

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <array>

#include <exdisp.h>
#include <qt_windows.h>
#include <shlobj.h>
#include <wrl/client.h>

using Microsoft::WRL::ComPtr;

namespace
{

const wchar_t* WideText(const QString& text)
{
    return reinterpret_cast<const wchar_t*>(text.utf16());
}

/// What a shell link says: target, working directory, arguments, description, application id.
QStringList ReadLink(const QString& path)
{
    ComPtr<IShellLinkW> link;
    ComPtr<IPersistFile> file;
    ComPtr<IPropertyStore> properties;
    if (FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER,
                                IID_PPV_ARGS(link.GetAddressOf()))) ||
        FAILED(link->QueryInterface(IID_PPV_ARGS(file.GetAddressOf()))) ||
        FAILED(link->QueryInterface(IID_PPV_ARGS(properties.GetAddressOf()))) ||
        FAILED(file->Load(WideText(path), STGM_READ))) {
        return {};
    }
    constexpr int size = 1024;
    std::array<wchar_t, size> texts[4]{};
    link->GetPath(texts[0].data(), size, nullptr, SLGP_RAWPATH);
    link->GetWorkingDirectory(texts[1].data(), size);
    link->GetArguments(texts[2].data(), size);
    link->GetDescription(texts[3].data(), size);
    QStringList fields;
    for (const auto& text : texts) {
        fields += QString::fromWCharArray(text.data());
    }
    const PROPERTYKEY applicationId{
        {0x9F4C2855, 0x9F79, 0x4B39, {0xA8, 0xD0, 0xE1, 0xD4, 0x2D, 0xE1, 0xD5, 0xF3}}, 5};
    PROPVARIANT value{};
    if (SUCCEEDED(properties->GetValue(applicationId, &value)) && value.vt == VT_LPWSTR) {
        fields += QString::fromWCharArray(value.pwszVal);
    }
    PropVariantClear(&value);
    return fields;
}

} // namespace

class TestDesktop : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void folders();
    void shortcut();
    void showFile();
    void removeAfterExit();
};

void TestDesktop::folders()
{
    std::array<wchar_t, MAX_PATH> path{};
    const std::pair<int, QString> folders[] = {{CSIDL_APPDATA, common::Shell::AppPath()},
                                               {CSIDL_DESKTOPDIRECTORY, common::Shell::DesktopPath()},
                                               {CSIDL_PROGRAMS, common::Shell::StartMenuPath()}};
    for (const auto& [id, told] : folders) {
        QVERIFY(SHGetFolderPathW(nullptr, id, nullptr, SHGFP_TYPE_CURRENT, path.data()) == S_OK);
        QCOMPARE(told, QString::fromWCharArray(path.data()));
    }
    const QTemporaryDir dir;
    QVERIFY(QFile(dir.filePath("file")).open(QIODevice::WriteOnly));
    QVERIFY2(!common::Shell::MoveDir(dir.path(), "Q:/to"), "there is no such drive");
    QVERIFY(QFile::exists(dir.filePath("file")));
}

void TestDesktop::shortcut()
{
    const QTemporaryDir dir;
    const QString link = QDir::toNativeSeparators(dir.filePath("My phone ü.lnk"));
    const QString target = QDir::toNativeSeparators(dir.filePath("my phone.exe"));
    QVERIFY(QFile(target).open(QIODevice::WriteOnly));
    const QString work = QDir::toNativeSeparators(dir.path());
    const QString arguments = "--call \"tel:+1 2\" %TEMP% ü";
    QVERIFY2(!common::Shell::CreateShortcut(target, work, "", link, "", ""), "there is no COM yet");

    QVERIFY(SUCCEEDED(CoInitialize(nullptr)));
    QVERIFY(common::Shell::CreateShortcut(target, work, arguments, link, "Calls people", "vexline.phone"));
    const QStringList fields = ReadLink(link);
    QVERIFY(common::Shell::CreateShortcut(target, work, "", link, "", ""));
    const QStringList plain = ReadLink(link);
    QVERIFY(!common::Shell::CreateShortcut(target, work, "", dir.filePath("none/x.lnk"), "", ""));
    CoUninitialize();
    QCOMPARE(fields.mid(0, 4), QStringList({target, work, arguments, "Calls people"}));
    // IPropertyStore::SetValue of a shell link is not implemented in Wine.
    const bool isWine = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
    QCOMPARE(fields.mid(4), isWine ? QStringList() : QStringList{"vexline.phone"});
    QCOMPARE(plain, QStringList({target, work, "", ""}));
}

void TestDesktop::showFile()
{
    const RecordingLogger log;
    const QTemporaryDir dir;
    QVERIFY(!common::Shell::ShowFile("C:/no such folder/a b"));
    QVERIFY2(!common::Shell::ShowFile(dir.path()), "there is no COM yet");
    QVERIFY(SUCCEEDED(CoInitialize(nullptr)));
    const bool shown = common::Shell::ShowFile(dir.path());
    // The desktop has to serve this object. Wine's does not once the display of its first program is gone.
    ComPtr<IUnknown> windows;
    const HRESULT served = CoCreateInstance(CLSID_ShellWindows, nullptr, CLSCTX_LOCAL_SERVER,
                                            IID_PPV_ARGS(windows.GetAddressOf()));
    windows.Reset();
    CoUninitialize();
    QCOMPARE(shown, SUCCEEDED(served));
    QCOMPARE(log.lines.size(), 1U);
    QCOMPARE(log.lines[0].text,
             "Shell::ShowFile() - unable to start 'explorer.exe /select,C:\\no such folder\\a b'");
}

void TestDesktop::removeAfterExit()
{
    RecordingLogger log;
    QVERIFY(common::Shell::RemoveAfterExit("none"));
    QCOMPARE(log.lines.size(), 0U);
    for (const QString& name : {QString("a b"), QString(250, u'x')}) {
        QTemporaryDir dir;
        // An overlong line is cut. The parent must fit into the 260 characters of a working directory.
        constexpr int parentLength = 225;
        const bool isCut = name.size() > 100;
        const QString parent =
            isCut ? dir.path() + u'/' + QString(parentLength - dir.path().size(), u'p') : dir.path();
        QVERIFY(QDir().mkpath(parent + u'/' + name));
        const QString native = QDir::toNativeSeparators(parent + u'/' + name);
        log.lines.clear();
        QVERIFY(common::Shell::RemoveAfterExit(parent + u'/' + name));
        QString command = "cmd.exe /C \"ping 1.1.1.1 -n 1 -w 5000 > Nul & rmdir /S /Q \"" + native + u'"';
        command.truncate(519);
        QCOMPARE(log.lines.size(), 1U);
        QCOMPARE(log.lines[0].text, "RemoveAfterExit() - CreateProcessW(" + command + ", " +
                                        native.section(u'\\', 0, -2) + ") successfully started!");
        QTRY_VERIFY_WITH_TIMEOUT(isCut || !QFileInfo::exists(native), 20000);
        QTRY_VERIFY_WITH_TIMEOUT(dir.remove(), 20000); // The interpreter still stands in it.
    }
}

QTEST_GUILESS_MAIN(TestDesktop)
#include "tst_desktop.moc"
