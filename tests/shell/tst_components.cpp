#include <common/shell/registryoverrider.h>
#include <common/shell/shell.h>

#include <logger/recordinglogger.h>

#include <QFile>
#include <QLibrary>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#ifdef Q_OS_WIN
#include <qt_windows.h>
#endif

using common::RegistryOverrider;

namespace
{

#ifdef Q_OS_WIN
constexpr bool hasRegistry = true;

bool KeyExists(HKEY root, const wchar_t* path)
{
    HKEY key = nullptr;
    const bool exists = RegOpenKeyW(root, path, &key) == ERROR_SUCCESS;
    if (exists) {
        RegCloseKey(key);
    }
    return exists;
}

bool IsMarkedForUser()
{
    return KeyExists(HKEY_CURRENT_USER, L"Software\\Classes\\vxcommon.test.component");
}

bool IsMarkedForAll()
{
    return KeyExists(HKEY_LOCAL_MACHINE, L"Software\\Classes\\vxcommon.test.component");
}
#else
constexpr bool hasRegistry = false;

// There is one place for both: whoever runs the component decides.
bool IsMarkedForUser()
{
    return QFile::exists(qEnvironmentVariable("COMPONENT_FILE"));
}

bool IsMarkedForAll()
{
    return IsMarkedForUser();
}
#endif

const QString overrideFails = QStringLiteral("3: Failed to open dstKey: 0x      78");

QStringList TakeLines(RecordingLogger& log)
{
    QStringList lines;
    for (const auto& line : log.lines) {
        lines += QStringLiteral("%1: %2").arg(line.level).arg(line.text);
    }
    log.lines.clear();
    return lines;
}

} // namespace

class TestComponents : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void registration_data();
    void registration();
    void failures_data();
    void failures();
    void libraryThatStays();
    void overrider_data();
    void overrider();
    void copiesOfAnOverrider();

private:
    QTemporaryDir dir;
};

void TestComponents::initTestCase()
{
    qputenv("COMPONENT_FILE", dir.filePath("registered").toLocal8Bit());
#ifdef Q_OS_WIN
    HKEY key = nullptr; // Each user of Windows has it, a fresh one of Wine has not.
    QCOMPARE(RegCreateKeyW(HKEY_CURRENT_USER, L"Software\\Classes", &key), ERROR_SUCCESS);
    RegCloseKey(key);
    RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\Classes\\vxcommon.test.component");
    RegDeleteKeyW(HKEY_LOCAL_MACHINE, L"Software\\Classes\\vxcommon.test.component");
#endif
}

void TestComponents::registration_data()
{
    QTest::addColumn<bool>("admin");

    QTest::newRow("user") << false;
    QTest::newRow("admin") << true;
}

void TestComponents::registration()
{
    QFETCH(bool, admin);

    const QString path = QStringLiteral(COMPONENT);
    const QString tail = QStringLiteral(" DLL: '%1' from %2").arg(path, admin ? "admin" : "user");
    QStringList overriding;
    if (!admin) {
        overriding += hasRegistry ? QStringLiteral("7: Restoring ovveridden key") : overrideFails;
    }
    RecordingLogger log;
    QCOMPARE(common::Shell::RegisterComponent(path, admin), 0UL);
    QCOMPARE(TakeLines(log), QStringList("7: Registering" + tail) + overriding);
    QCOMPARE(IsMarkedForUser(), !admin || !hasRegistry);
    QCOMPARE(IsMarkedForAll(), admin || !hasRegistry);
    QCOMPARE(common::Shell::ProcessModules(QFileInfo(path).fileName()), QStringList());

    QCOMPARE(common::Shell::UnregisterComponent(path, admin), 0UL);
    QCOMPARE(TakeLines(log), QStringList("7: Unregistering" + tail) + overriding);
    QVERIFY(!IsMarkedForUser() && !IsMarkedForAll());
}

void TestComponents::failures_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<unsigned long>("result");
    QTest::addColumn<QString>("line");

    const QString noEntry = QStringLiteral("3: Failed to resolve DllRegisterServer()");
    const QString failed = QStringLiteral("3: Failed to invoke DllRegisterServer(): 0x");
    QTest::newRow("no library") << "/no/such/library" << QByteArray() << 0x80004002UL << noEntry;
    QTest::newRow("no entry point") << NO_COMPONENT << QByteArray() << 0x80004002UL << noEntry;
    QTest::newRow("E_FAIL") << COMPONENT << QByteArray("80004005") << 0x80004005UL << failed + "80004005";
    QTest::newRow("S_FALSE counts as failure") << COMPONENT << QByteArray("1") << 1UL << failed + "       1";
}

void TestComponents::failures()
{
    QFETCH(QString, path);
    QFETCH(QByteArray, answer);
    QFETCH(unsigned long, result);
    QFETCH(QString, line);

    qputenv("COMPONENT_RESULT", answer);
    RecordingLogger log;
    QCOMPARE(common::Shell::RegisterComponent(path, true), result);
    QCOMPARE(TakeLines(log), QStringList({"7: Registering DLL: '" + path + "' from admin", line}));
    QCOMPARE(common::Shell::ProcessModules(QFileInfo(path).fileName()), QStringList());
    QCOMPARE(common::Shell::UnregisterComponent(path, true), result);
    QCOMPARE(TakeLines(log).last(), line.replace("DllRegister", "DllUnregister"));
    qunsetenv("COMPONENT_RESULT");
}

void TestComponents::libraryThatStays()
{
    // Qt counts a user of a library only if it was made before another one loaded it.
    QLibrary first(QStringLiteral(COMPONENT));
    QLibrary second(QStringLiteral(COMPONENT));
    QVERIFY(first.load() && second.load());
    RecordingLogger log;
    QCOMPARE(common::Shell::RegisterComponent(QStringLiteral(COMPONENT), true), 0UL);
    QCOMPARE(TakeLines(log).mid(1), QStringList{"3: Failed to unload DLL"});
    QCOMPARE(common::Shell::UnregisterComponent(QStringLiteral(COMPONENT), true), 0UL);
}

void TestComponents::overrider_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("destination");
    QTest::addColumn<QString>("subkey");
    QTest::addColumn<QStringList>("lines");

    const QString user = QStringLiteral("HKEY_CURRENT_USER");
    const QString classes = QStringLiteral("HKEY_CLASSES_ROOT");
    const QString noOverride = QStringLiteral("3: Failed to override srcKey: 0x       6");
    QTest::newRow("works") << classes << user << "Software" << QStringList{"7: Restoring ovveridden key"};
    QTest::newRow("unknown source") << "HKEY_CLASSES" << user << "Software" << QStringList{noOverride};
    QTest::newRow("lower-case source")
        << "hkey_classes_root" << user << "Software" << QStringList{noOverride};
    QTest::newRow("lower-case destination")
        << classes << "hkey_current_user"
        << "Software" << QStringList{"3: Failed to open dstKey: 0x       6"};
    QTest::newRow("no such subkey") << classes << user << "no such key"
                                    << QStringList{"3: Failed to open dstKey: 0x       2"};
}

void TestComponents::overrider()
{
    QFETCH(QString, source);
    QFETCH(QString, destination);
    QFETCH(QString, subkey);
    QFETCH(QStringList, lines);

    RecordingLogger log;
    {
        const RegistryOverrider overrider(source, destination, subkey.toStdWString().c_str());
    }
    QCOMPARE(TakeLines(log), hasRegistry ? lines : QStringList{overrideFails});
}

void TestComponents::copiesOfAnOverrider()
{
    RecordingLogger log;
    {
        const RegistryOverrider first("HKEY_CLASSES_ROOT", "HKEY_CURRENT_USER", L"Software");
        RegistryOverrider second = first;
        second = RegistryOverrider(first);
        log.lines.clear();
    }
    QCOMPARE(TakeLines(log), QStringList());
}

QTEST_GUILESS_MAIN(TestComponents)
#include "tst_components.moc"
