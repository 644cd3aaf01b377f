// Tests attacks by other users in a shared temporary directory. Needs root to act as another user.

#include "peers.h"
#include "table.h"

#include <QFile>
#include <QRegularExpression>

#include <functional>

#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr uid_t otherUser = 65534;

/// Runs `work` as another user and returns its result.
bool WorksForOther(const std::function<bool()>& work)
{
    const bool worked = seteuid(otherUser) == 0 && work();
    return seteuid(0) == 0 && worked;
}

} // namespace

class TestForeignUsers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void plantedLockFile_data();
    void plantedLockFile();
    void filesArePrivate();
    void impostor();

private:
    const PrivateTemp temp;
};

void TestForeignUsers::initTestCase()
{
    if (geteuid() != 0) {
        QSKIP("Needs the rights of root.");
    }
    QCOMPARE(chmod(QFile::encodeName(temp.path()).constData(), 01777), 0);
}

void TestForeignUsers::plantedLockFile_data()
{
    const Table<bool> row("isLink");
    row("a link to a file of this user", true);
    row("a locked file of another user", false);
}

void TestForeignUsers::plantedLockFile()
{
    QFETCH(bool, isLink);

    const QString socketPath = QDir::temp().filePath(SocketName("plant"));
    const QString lockPath = socketPath + "-lockfile";
    QVERIFY(QFile::remove(lockPath));
    QFile file(isLink ? socketPath + "-target" : lockPath);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.write("precious") > 0);
    QVERIFY(file.flush());
    QVERIFY(isLink ? file.link(lockPath)
                   : fchown(file.handle(), otherUser, otherUser) == 0 && flock(file.handle(), LOCK_EX) == 0);

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("lockfile is not a file of this user"));
    QtLocalPeer peer(nullptr, "plant");
    QVERIFY2(!peer.isSecondary(), "no file keeps this user from starting");
    QVERIFY(!peer.sendMessage("x", 100));
    QVERIFY(!QFile::exists(socketPath));
    QCOMPARE(file.size(), 8);
    QVERIFY(QFile::remove(lockPath));
}

void TestForeignUsers::filesArePrivate()
{
    const Primary first("priv");
    const QString path = QDir::temp().filePath(first.SocketName());
    QCOMPARE(QFile::permissions(path + "-lockfile") & 0x0fff, QFile::ReadUser | QFile::WriteUser);
    QLocalSocket intruder;
    QVERIFY(!WorksForOther([&] {
        intruder.connectToServer(path);
        return intruder.waitForConnected(1000);
    }));
}

void TestForeignUsers::impostor()
{
    const QString path = QDir::temp().filePath(SocketName("impo"));
    QtLockedFile lockFile(path + "-lockfile");
    QVERIFY(lockFile.open(QIODevice::ReadWrite));
    QVERIFY(lockFile.lock(QtLockedFile::WriteLock, false));
    QLocalServer server;
    server.setSocketOptions(QLocalServer::WorldAccessOption);
    QVERIFY(WorksForOther([&] { return server.listen(path); }));
    connect(&server, &QLocalServer::newConnection, this,
            [&] { server.nextPendingConnection()->write("ack"); });
    QTest::ignoreMessage(
        QtWarningMsg, "QtLocalPeer: the process behind the local socket is not known to belong to this user");
    QVERIFY(!SendFromElsewhere("impo", "secret"));
}

QTEST_GUILESS_MAIN(TestForeignUsers)
#include "tst_foreignusers.moc"
