// What other users of a shared temporary folder may try. Needs the rights of root to play another user.

#include "peers.h"

#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QThread>

#include <array>
#include <memory>

#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr uid_t otherUser = 65534;

/// What CTest shows as a test that was not run.
constexpr int skipped = 77;

/// Connects to a socket as another user; 0 if that works.
int RunIntruder(int argc, char** argv)
{
    if (setuid(otherUser) != 0) {
        return 2;
    }
    QCoreApplication application(argc, argv);
    QLocalSocket socket;
    socket.connectToServer(QString::fromLocal8Bit(argv[2]));
    return socket.waitForConnected(1000) ? 0 : 1;
}

/// Listens as another user, tells so, and answers whatever comes until it is killed.
int RunImpostor(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QLocalServer server;
    server.setSocketOptions(QLocalServer::WorldAccessOption);
    if (setuid(otherUser) != 0 || !server.listen(QString::fromLocal8Bit(argv[2]))) {
        return 2;
    }
    QObject::connect(&server, &QLocalServer::newConnection, &server, [&server] {
        QLocalSocket* const socket = server.nextPendingConnection();
        socket->write("ack");
    });
    std::puts("listening");
    static_cast<void>(std::fflush(stdout));
    return QCoreApplication::exec();
}

} // namespace

class TestForeignUsers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void plantedLockFile_data();
    void plantedLockFile();
    void lockFileIsPrivate();
    void lockFileNotOpened();
    void lockFileRemoved();
    void noTemporaryFolder();
    void intruder();
    void impostor();
};

void TestForeignUsers::plantedLockFile_data()
{
    QTest::addColumn<QString>("planted");

    for (const char* planted : {"link", "dangling link", "second name", "folder", "pipe", "foreign file"}) {
        QTest::newRow(planted) << planted;
    }
}

void TestForeignUsers::plantedLockFile()
{
    QFETCH(QString, planted);

    const QString socketName = SocketName("plant");
    const QByteArray path = QFile::encodeName(QDir::temp().filePath(socketName + "-lockfile"));
    const QByteArray target = QFile::encodeName(QDir::temp().filePath("target"));
    QVERIFY(unlink(path.constData()) == 0);
    QFile file(QFile::decodeName(planted == "foreign file" ? path : target));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("precious") > 0 && file.flush());
    QVERIFY(fchmod(file.handle(), 0640) == 0);
    const bool done = planted == "folder"          ? mkdir(path.constData(), 0700) == 0
                      : planted == "pipe"          ? mkfifo(path.constData(), 0600) == 0
                      : planted == "second name"   ? link(target.constData(), path.constData()) == 0
                      : planted == "link"          ? symlink(target.constData(), path.constData()) == 0
                      : planted == "dangling link" ? symlink("nowhere", path.constData()) == 0
                                                   : chown(path.constData(), otherUser, otherUser) == 0 &&
                                                         flock(file.handle(), LOCK_EX) == 0;
    QVERIFY(done);

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("lockfile is not a file of this user"));
    QtLocalPeer peer(nullptr, "plant");
    QVERIFY2(!peer.isSecondary(), "nobody's file keeps this user from starting");
    QVERIFY(!peer.sendMessage("x", 100));
    QVERIFY(!QFile::exists(QDir::temp().filePath(socketName)));
    QVERIFY(!QFile::exists(QDir::temp().filePath("nowhere")));
    QCOMPARE(file.size(), 8);
    struct stat status = {};
    QVERIFY(fstat(file.handle(), &status) == 0);
    QCOMPARE(status.st_mode & 0777, 0640U);
    QVERIFY(remove(path.constData()) == 0);
    file.remove();
}

void TestForeignUsers::lockFileIsPrivate()
{
    const QString path = QDir::temp().filePath(SocketName("priv") + "-lockfile");
    QVERIFY(chmod(QFile::encodeName(path).constData(), 0666) == 0);
    const QtLocalPeer peer(nullptr, "priv");
    QCOMPARE(QFile::permissions(path) & 0x0fff, QFile::ReadUser | QFile::WriteUser);
}

// A process that cannot open the lock file tries whether somebody listens.
void TestForeignUsers::lockFileNotOpened()
{
    QtLocalPeer first(nullptr, "closed");
    QVERIFY(!first.isSecondary());
    const QSignalSpy received(&first, &QtLocalPeer::messageReceived);
    std::array<bool, 2> sent{};
    const auto sender = [](bool& result, const char* id) {
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        const rlimit none{0, limit.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
        QtLocalPeer peer(nullptr, id);
        setrlimit(RLIMIT_NOFILE, &limit);
        result = peer.sendMessage("x", 20000);
    };
    QTest::ignoreMessage(QtWarningMsg, "QtLockedFile::lock(): file is not opened");
    QTest::ignoreMessage(QtWarningMsg, "QtLockedFile::lock(): file is not opened");
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        sender(sent[0], "closed");
        sender(sent[1], "nobody there");
    }));
    thread->start();
    QTRY_COMPARE(received.count(), 1);
    QVERIFY(thread->wait());
    QVERIFY(sent[0] && !sent[1]);
}

void TestForeignUsers::lockFileRemoved()
{
    const QString path = QDir::temp().filePath(SocketName("removed") + "-lockfile");
    QtLocalPeer early(nullptr, "removed");
    QVERIFY(QFile::remove(path));
    QtLocalPeer first(nullptr, "removed");
    QVERIFY(!first.isSecondary());
    QVERIFY2(early.isSecondary(), "its file is not the one that counts");
}

void TestForeignUsers::noTemporaryFolder()
{
    const QByteArray folder = qgetenv("TMPDIR");
    qputenv("TMPDIR", folder + "/missing");
    QtLocalPeer peer(nullptr, "homeless");
    qputenv("TMPDIR", folder);
    QTest::ignoreMessage(QtWarningMsg, "QtLockedFile::lock(): file is not opened");
    QVERIFY2(!peer.sendMessage("x", -1), "at once, although no limit is set");
    QVERIFY(QDir().entryList({"qtsingleapp-*"}).isEmpty());
}

void TestForeignUsers::intruder()
{
    QtLocalPeer first(nullptr, "intru");
    QVERIFY(!first.isSecondary());
    const QString path = QDir::temp().filePath(SocketName("intru"));
    QCOMPARE(QProcess::execute(QCoreApplication::applicationFilePath(), {"intruder", path}), 1);
}

void TestForeignUsers::impostor()
{
    const QString socketName = SocketName("impo");
    QtLP_Private::QtLockedFile lockFile(QDir::temp().filePath(socketName + "-lockfile"));
    QVERIFY(lockFile.open(QIODevice::ReadWrite));
    QVERIFY(lockFile.lock(QtLP_Private::QtLockedFile::WriteLock, false));
    QProcess impostor;
    impostor.start(QCoreApplication::applicationFilePath(), {"impostor", QDir::temp().filePath(socketName)});
    QVERIFY(impostor.waitForReadyRead(30000));
    QtLocalPeer peer(nullptr, "impo");
    QTest::ignoreMessage(QtWarningMsg,
                         "QtLocalPeer: the process behind the local socket belongs to another user");
    QVERIFY(!peer.sendMessage("secret", 5000));
    impostor.kill();
    QVERIFY(impostor.waitForFinished());
}

int main(int argc, char** argv)
{
    if (argc == 3 && qstrcmp(argv[1], "intruder") == 0) {
        return RunIntruder(argc, argv);
    }
    if (argc == 3 && qstrcmp(argv[1], "impostor") == 0) {
        return RunImpostor(argc, argv);
    }
    if (geteuid() != 0) {
        std::puts("Needs the rights of root.");
        return skipped;
    }
    const PrivateTemp temp;
    chmod(QFile::encodeName(temp.path()).constData(), 01777);
    QCoreApplication application(argc, argv);
    TestForeignUsers test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_foreignusers.moc"
