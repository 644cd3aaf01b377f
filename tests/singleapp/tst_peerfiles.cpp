// Tests the two files of a primary instance in the temporary directory, and a process that inherits them.

#include "peers.h"

#include <QDateTime>
#include <QFileSystemWatcher>
#include <QProcess>
#include <QScopeGuard>

#include <csignal>
#include <cstdio>

#include <unistd.h>

namespace
{

/// Runs a primary instance that forks a helper, which outlives it, and prints the helper's id.
int RunWithHelper(const char* appId)
{
    QtLocalPeer peer(nullptr, appId);
    const pid_t helper = peer.isSecondary() ? -1 : fork();
    if (helper == 0) {
        sleep(60);
        _exit(0); // The helper must not clean up for its parent.
    }
    std::printf("%d\n", static_cast<int>(helper));
    static_cast<void>(std::fflush(stdout));
    return std::getchar();
}

} // namespace

class TestPeerFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void removedBeforeClaim();
    void removedDuringClaim();
    void directoryRemoved();
    void secondName();
    void keptFresh();
    void forkedHelper();
};

void TestPeerFiles::removedBeforeClaim()
{
    const QString path = QDir::temp().filePath(SocketName("removed") + "-lockfile");
    QtLocalPeer early(nullptr, "removed");
    QVERIFY(QFile::remove(path));
    const Primary first("removed");
    QVERIFY2(early.isSecondary(), "its file is not the one that counts");
}

void TestPeerFiles::removedDuringClaim()
{
    const Primary first("again");
    const QString socketPath = QDir::temp().filePath(first.SocketName());
    const QString lockPath = socketPath + "-lockfile";
    const QStringList removals = {lockPath, lockPath, socketPath};
    for (const QString& path : removals) {
        QVERIFY(QFile::remove(path));
        // The lock file at once, before the next check.
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(path), path == lockPath ? 3000 : 20000);
        QVERIFY(QtLocalPeer(nullptr, "again").isSecondary());
        QVERIFY(SendFromElsewhere("again", "hello"));
    }
    QVERIFY(QFile::remove(lockPath));
    QtLP_Private::QtLockedFile other(lockPath); // Of a process that has created the file again.
    QVERIFY(other.open(QIODevice::ReadWrite));
    QTRY_VERIFY_WITH_TIMEOUT(!other.lock(other.ReadLock, false) || !other.unlock(), 20000);
    QTRY_COMPARE(first.received.size(), removals.size());
}

// A primary instance without a directory for its files looks for one at each check only.
void TestPeerFiles::directoryRemoved()
{
    const QString outer = QDir::tempPath();
    const auto restore = qScopeGuard([&outer] { SetTempPath(outer); });
    const QString inner = outer + "/inner";
    QVERIFY(QDir().mkdir(inner));
    SetTempPath(inner);
    const Primary first("homeless");
    int changes = 0;
    connect(first.peer.findChild<QFileSystemWatcher*>(), &QFileSystemWatcher::fileChanged, this,
            [&changes] { ++changes; });
    QVERIFY(QDir(inner).removeRecursively());
    QTest::qWait(1000);
    QVERIFY(changes > 0);
    QVERIFY2(changes < 10, "it causes the changes itself");
    QVERIFY(QDir().mkdir(inner));
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(inner + '/' + first.SocketName()), 20000);
    QVERIFY(SendFromElsewhere("homeless", "hello"));
    QTRY_COMPARE(first.received, QStringList("hello"));
}

void TestPeerFiles::secondName()
{
    const QByteArray path = QFile::encodeName(QDir::temp().filePath(SocketName("linked") + "-lockfile"));
    QCOMPARE(link(path.constData(), (path + ".bak").constData()), 0);
    const Primary first("linked");
    QVERIFY(SendFromElsewhere("linked", "hello"));
}

// A cleaner of old temporary files removes files that have not changed for days.
void TestPeerFiles::keptFresh()
{
    const Primary first("fresh");
    const QString path = QDir::temp().filePath(first.SocketName() + "-lockfile");
    QCOMPARE(QProcess::execute("touch", {"--date=9 days ago", path}), 0);
    const auto isFresh = [&path] {
        return QFileInfo(path).lastModified().secsTo(QDateTime::currentDateTime()) < 100;
    };
    QVERIFY(!isFresh());
    QTRY_VERIFY_WITH_TIMEOUT(isFresh(), 20000);
}

void TestPeerFiles::forkedHelper()
{
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(), {"helper", "forked"});
    QVERIFY(process.waitForReadyRead(30000));
    const pid_t helper = process.readLine().trimmed().toInt();
    QVERIFY(helper > 0);
    const auto end = qScopeGuard([helper] { kill(helper, SIGKILL); });
    QtLocalPeer heir(nullptr, "forked");
    QVERIFY(heir.isSecondary());
    kill(static_cast<pid_t>(process.processId()), SIGKILL);
    // Without events, QProcess does not collect the process.
    for (int i = 0; i < 5000 && heir.isSecondary(); ++i) {
        QThread::msleep(1);
    }
    QVERIFY2(!heir.isSecondary(), "the claim ends with its process");
    QVERIFY(SendFromElsewhere("forked", "hello"));
}

int main(int argc, char** argv)
{
    if (argc == 3 && qstrcmp(argv[1], "helper") == 0) {
        return RunWithHelper(argv[2]);
    }
    const PrivateTemp temp;
    QCoreApplication application(argc, argv);
    TestPeerFiles test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_peerfiles.moc"
