#include <common/shell/registryoverrider.h>
#include <common/shell/shell.h>

#include <files/filetree.h>
#include <logger/recordinglogger.h>
#include <table.h>

#include <QDir>

#ifdef Q_OS_WIN
#include <qt_windows.h>
#else
#include <dlfcn.h>
#endif

using common::RegistryOverrider;
using common::Shell;

namespace
{

#ifdef Q_OS_WIN
const QStringList userOverride{"7 Restoring ovveridden key"};

/// Returns whether the component has left its mark for this user or for all.
bool IsMarked(HKEY root)
{
    HKEY key = nullptr;
    const auto error = RegOpenKeyW(root, L"Software\\Classes\\vxcommon.test.component", &key);
    RegCloseKey(key);
    return error == ERROR_SUCCESS;
}
#else
const QStringList userOverride; // There is nothing to redirect.
#endif

constexpr auto channel = "common.shell";

} // namespace

class TestComponents : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void registration_data();
    void registration();
#ifndef Q_OS_WIN
    void relativeName();
#endif
    void overrider();
};

void TestComponents::registration_data()
{
    const Table<bool, unsigned long, QStringList> row("admin", "result", "lines");
    row("user", false, 0, userOverride);
    row("admin", true, 0, {});
    row("E_FAIL", false, 0x80004005,
        userOverride + QStringList("3 Failed to invoke DllRegisterServer(): 0x80004005"));
}

void TestComponents::registration()
{
    QFETCH(bool, admin);
    QFETCH(unsigned long, result);
    QFETCH(QStringList, lines);

    qputenv("COMPONENT_RESULT", QByteArray::number(qulonglong{result}, 16));
    const QString tail = QString("egistering DLL: '%1' from %2").arg(COMPONENT, admin ? "admin" : "user");
    RecordingLogger log;
#ifdef Q_OS_WIN
    HKEY key = nullptr; // It exists for each user of Windows, but not in a fresh prefix of Wine.
    QCOMPARE(RegCreateKeyW(HKEY_CURRENT_USER, L"Software\\Classes", &key), ERROR_SUCCESS);
    RegCloseKey(key);
#endif
    QCOMPARE(Shell::RegisterComponent(COMPONENT, admin), result);
    QCOMPARE(log.Lines(channel, 7), QStringList("7 R" + tail) + lines);
    log.lines.clear();
#ifdef Q_OS_WIN
    QCOMPARE(IsMarked(HKEY_CURRENT_USER), !admin);
    QCOMPARE(IsMarked(HKEY_LOCAL_MACHINE), admin);
#endif
    QVERIFY2(Shell::ProcessModules(COMPONENT).isEmpty(), "it stays loaded");
    QCOMPARE(Shell::UnregisterComponent(COMPONENT, admin), result);
    QCOMPARE(log.Lines(channel, 7),
             QStringList("7 Unr" + tail) + lines.replaceInStrings("DllReg", "DllUnreg"));
#ifdef Q_OS_WIN
    QVERIFY(!IsMarked(HKEY_CURRENT_USER));
    QVERIFY(!IsMarked(HKEY_LOCAL_MACHINE));
#endif
}

#ifndef Q_OS_WIN
void TestComponents::relativeName()
{
    const QFileInfo component(COMPONENT);
    void* library = nullptr;
    {
        const filetree::CurrentDirectory current(component.path());
        library = dlopen(QFile::encodeName("./" + component.fileName()).constData(), RTLD_NOW);
    }
    QVERIFY(library != nullptr);
    QCOMPARE(Shell::ProcessModules(COMPONENT), QStringList(component.canonicalFilePath()));
    dlclose(library);
}
#endif

void TestComponents::overrider()
{
    const RecordingLogger log;
    static_cast<void>(RegistryOverrider("HKEY_CLASSES_ROOT", "HKEY_CURRENT_USER", L"Software"));
#ifdef Q_OS_WIN
    QCOMPARE(log.Lines(channel, 7), userOverride);
#else
    QCOMPARE(log.Lines(channel, 7), QStringList("3 Failed to open dstKey: 0x      78"));
#endif
}

QTEST_GUILESS_MAIN(TestComponents)
#include "tst_components.moc"
