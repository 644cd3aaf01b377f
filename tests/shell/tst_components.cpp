#include <common/shell/registryoverrider.h>
#include <common/shell/shell.h>

#include <logger/recordinglogger.h>

#include <QDir>
#include <QFile>
#include <QLibrary>
#include <QTemporaryDir>
#include <QTest>

#ifdef Q_OS_WIN
#include <qt_windows.h>
#else
#include <dlfcn.h>
#endif

using common::RegistryOverrider;
using common::Shell;

namespace
{

const QString restored = QStringLiteral("7: Restoring ovveridden key");

#ifdef Q_OS_WIN
constexpr bool hasRegistry = true;
const QString userOverride = restored;
#else
constexpr bool hasRegistry = false;
const QString userOverride = QStringLiteral("3: Failed to open dstKey: 0x      78");
#endif

/// Whether the component has left its mark for this user or for all; without a registry that is one place.
bool IsMarked(bool forAll)
{
#ifdef Q_OS_WIN
    HKEY key = nullptr;
    const bool exists = RegOpenKeyW(forAll ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER,
                                    L"Software\\Classes\\vxcommon.test.component", &key) == ERROR_SUCCESS;
    RegCloseKey(key);
    return exists;
#else
    static_cast<void>(forAll);
    return QFile::exists(qEnvironmentVariable("COMPONENT_FILE"));
#endif
}

QStringList TakeLines(RecordingLogger& log)
{
    QStringList lines;
    for (const auto& line : log.lines) {
        lines += QString("%1: %2").arg(line.level).arg(line.text);
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
#ifdef Q_OS_UNIX
    void relativeName();
#endif
    void libraryThatStays();
    void overrider();

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
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("admin");
    QTest::addColumn<QByteArray>("answer"); // Of the entry points, as hexadecimal number.
    QTest::addColumn<unsigned long>("result");
    QTest::addColumn<QStringList>("lines");

    const QString noEntry = "3: Failed to resolve DllRegisterServer()";
    const QString failed = "3: Failed to invoke DllRegisterServer(): 0x";
    const QByteArray done = "0";
    QTest::newRow("user") << COMPONENT << false << done << 0UL << QStringList{userOverride};
    QTest::newRow("admin") << COMPONENT << true << done << 0UL << QStringList();
    QTest::newRow("no library") << "/no/such" << true << done << 0x80004002UL << QStringList{noEntry};
    QTest::newRow("no entry point") << NO_COMPONENT << false << done << 0x80004002UL << QStringList{noEntry};
    QTest::newRow("E_FAIL") << COMPONENT << false << QByteArray("80004005") << 0x80004005UL
                            << QStringList{userOverride, failed + "80004005"};
    QTest::newRow("S_FALSE") << COMPONENT << true << QByteArray("1") << 1UL
                             << QStringList{failed + "       1"};
}

void TestComponents::registration()
{
    QFETCH(QString, path);
    QFETCH(bool, admin);
    QFETCH(QByteArray, answer);
    QFETCH(unsigned long, result);
    QFETCH(QStringList, lines);

    qputenv("COMPONENT_RESULT", answer);
    const QString tail = QString("egistering DLL: '%1' from %2").arg(path, admin ? "admin" : "user");
    const bool isMarked = path == COMPONENT;
    RecordingLogger log;
    QCOMPARE(Shell::RegisterComponent(path, admin), result);
    QCOMPARE(TakeLines(log), QStringList("7: R" + tail) + lines);
    QCOMPARE(IsMarked(false), isMarked && (!admin || !hasRegistry));
    QCOMPARE(IsMarked(true), isMarked && (admin || !hasRegistry));
    QCOMPARE(Shell::ProcessModules(QFileInfo(path).fileName()), QStringList());
    QCOMPARE(Shell::UnregisterComponent(path, admin), result);
    QCOMPARE(TakeLines(log), QStringList("7: Unr" + tail) + lines.replaceInStrings("DllReg", "DllUnreg"));
    QVERIFY(!IsMarked(false) && !IsMarked(true));
}

#ifdef Q_OS_UNIX
void TestComponents::relativeName()
{
    const QFileInfo component(QStringLiteral(COMPONENT));
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(component.path()));
    void* const library = dlopen(QFile::encodeName("./" + component.fileName()).constData(), RTLD_NOW);
    QVERIFY(QDir::setCurrent(before));
    QVERIFY(library != nullptr);
    QCOMPARE(Shell::ProcessModules(COMPONENT), QStringList{component.canonicalFilePath()});
    dlclose(library);
}
#endif

void TestComponents::libraryThatStays()
{
    qputenv("COMPONENT_RESULT", "0");
    // Qt counts a user of a library only if it was made before another one loaded it.
    QLibrary first(QStringLiteral(COMPONENT));
    QLibrary second(QStringLiteral(COMPONENT));
    QVERIFY(first.load() && second.load());
    RecordingLogger log;
    QCOMPARE(Shell::RegisterComponent(QStringLiteral(COMPONENT), true), 0UL);
    QCOMPARE(TakeLines(log).mid(1), QStringList{"3: Failed to unload DLL"});
    QCOMPARE(Shell::UnregisterComponent(QStringLiteral(COMPONENT), true), 0UL);
}

void TestComponents::overrider()
{
    const QString user = "HKEY_CURRENT_USER";
    const QString classes = "HKEY_CLASSES_ROOT";
    const QString noSource = "3: Failed to override srcKey: 0x       6";
    const QStringList cases[] = {
        {classes, user, "Software", restored},
        {"HKEY_CLASSES", user, "Software", noSource},
        {classes.toLower(), user, "Software", noSource},
        {classes, user.toLower(), "Software", "3: Failed to open dstKey: 0x       6"},
        {classes, user, "no such key", "3: Failed to open dstKey: 0x       2"}};
    for (const QStringList& row : cases) {
        RecordingLogger log;
        {
            const RegistryOverrider first(row[0], row[1], row[2].toStdWString().c_str());
            RegistryOverrider second = first; // Its end must leave the impl alone that both share.
            second = RegistryOverrider(first);
        }
        QCOMPARE(TakeLines(log), QStringList{hasRegistry ? row[3] : userOverride});
    }
}

QTEST_GUILESS_MAIN(TestComponents)
#include "tst_components.moc"
