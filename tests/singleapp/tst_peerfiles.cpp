// Tests the lock file and the socket of a primary instance, and a child process that inherits them.

#include "peers.h"

#include <QDateTime>
#include <QFileSystemWatcher>
#include <QProcess>
#include <QScopeGuard>

#include <csignal>

#include <sys/wait.h>
#include <unistd.h>

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

private:
    const PrivateTemp temp;
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
        // A removed lock file must be restored immediately, and a removed socket at the next check.
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(path), path == lockPath ? 3000 : 20000);
        QVERIFY(QtLocalPeer(nullptr, "again").isSecondary());
        QVERIFY(SendFromElsewhere("again", "hello"));
    }
    QVERIFY(QFile::remove(lockPath));
    QtLockedFile other(lockPath); // Another process has created the file again.
    QVERIFY(other.open(QIODevice::ReadWrite));
    QTRY_VERIFY_WITH_TIMEOUT(!other.lock(other.ReadLock, false) || !other.unlock(), 20000);
    QTRY_COMPARE(first.received.size(), removals.size());
}

// If its directory is missing, a primary instance searches for the directory only at each check.
void TestPeerFiles::directoryRemoved()
{
    const auto restore = qScopeGuard([this] { SetTempPath(temp.path()); });
    const QString inner = temp.filePath("inner");
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

// Clean-up services delete temporary files that have not changed for days.
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
    const pid_t process = fork();
    if (process == 0) {
        setpgid(0, 0);
        QtLocalPeer first(nullptr, "forked");
        if (!first.isSecondary() && fork() > 0) {
            static_cast<void>(raise(SIGSTOP));
        }
        sleep(60);
        _exit(0); // The helper must not run destructors.
    }
    QVERIFY(process > 0);
    const auto end = qScopeGuard([process] { kill(-process, SIGKILL); });
    int status = 0;
    QCOMPARE(waitpid(process, &status, WUNTRACED), process);
    QVERIFY2(WIFSTOPPED(status), "it has forked the helper");
    QtLocalPeer heir(nullptr, "forked");
    QVERIFY(heir.isSecondary());
    kill(process, SIGKILL); // It remains a zombie.
    QTRY_VERIFY2(!heir.isSecondary(), "the claim ends with its process");
    QVERIFY(SendFromElsewhere("forked", "hello"));
}

QTEST_GUILESS_MAIN(TestPeerFiles)
#include "tst_peerfiles.moc"
