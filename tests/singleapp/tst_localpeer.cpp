#include <common/singleapp/qtlocalpeer.h>

#include "thread.h"

#include <QDataStream>
#include <QElapsedTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <vector>

using QtLP_Private::QtLockedFile;

namespace
{

/// What a process of its own hands over, and whether it was told that it arrived.
bool SendFromElsewhere(const QString& appId, const QString& text, int timeout = 20000)
{
    bool sent = false;
    const auto thread = StartThread([&] { sent = QtLocalPeer(nullptr, appId).sendMessage(text, timeout); });
    while (!thread->wait(1)) {
        QCoreApplication::processEvents();
    }
    QTest::qWait(1);
    return sent;
}

/// The name of the only lock file that belongs to `appId`, without its ending, which is the socket's name.
QString SocketName(const QString& appId)
{
    const QStringList before = QDir::temp().entryList(QDir::Files);
    const QtLocalPeer peer(nullptr, appId);
    QStringList after = QDir::temp().entryList(QDir::Files);
    for (const QString& name : before) {
        after.removeOne(name);
    }
    const QString name = after.value(0);
    return name.endsWith("-lockfile") ? name.chopped(9) : QString();
}

std::unique_ptr<QLocalSocket> ConnectTo(const QString& socketName)
{
    auto socket = std::make_unique<QLocalSocket>();
    socket->connectToServer(socketName);
    return socket->waitForConnected(10000) ? std::move(socket) : nullptr;
}

QByteArray OnTheWire(const QByteArray& text)
{
    QByteArray bytes;
    QDataStream(&bytes, QIODevice::WriteOnly).writeBytes(text.constData(), static_cast<uint>(text.size()));
    return bytes;
}

QByteArray WithLength(quint32 length, const QByteArray& text)
{
    QByteArray bytes;
    QDataStream(&bytes, QIODevice::WriteOnly) << length;
    return bytes + text;
}

/// A first process that lives until it is killed.
int RunChild(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QtLocalPeer peer(&application, QString::fromLocal8Bit(argv[2]));
    std::puts(peer.isSecondary() ? "second" : "first");
    std::fflush(stdout);
    return QCoreApplication::exec();
}

} // namespace

class TestLocalPeer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void names_data();
    void names();
    void ownNameWithoutId();
    void handOver_data();
    void handOver();
    void claimOnFirstUse();
    void takeOver();
    void takeOverFromKilled();
    void lockFileCannotBeMade();
    void clients_data();
    void clients();
    void dribblingClient();
    void silentClients();
    void receiverDeletesPeer();
    void foreignAnswer();
    void firstThatDoesNotAnswer();
};

void TestLocalPeer::names_data()
{
    QTest::addColumn<QString>("appId");
    QTest::addColumn<QString>("expected");

    // The checksums are CRC-16 of ISO 3309, calculated by another program.
    QTest::newRow("letters only, cut") << "App 2-x"
                                       << "qtsingleapp-Appx-d490";
    QTest::newRow("no letters") << "123"
                                << "qtsingleapp--9cb4";
    QTest::newRow("same prefix, a") << "vexline-a"
                                    << "qtsingleapp-vexlin-dcf6";
    QTest::newRow("same prefix, b") << "vexline-b"
                                    << "qtsingleapp-vexlin-ee6d";
    QTest::newRow("long") << "Vexline" + QString(300, u'x') << "qtsingleapp-Vexlin-e60a";
}

void TestLocalPeer::names()
{
    QFETCH(QString, appId);
    QFETCH(QString, expected);

    const QString name = SocketName(appId);
    QCOMPARE(name.section(u'-', 0, -2), expected);
    QVERIFY(QRegularExpression("^[0-9a-f]+$").match(name.section(u'-', -1)).hasMatch());
}

void TestLocalPeer::ownNameWithoutId()
{
    const QtLocalPeer peer(nullptr, QString());
    QCOMPARE(peer.applicationId(), QCoreApplication::applicationFilePath().toLower());
    QCOMPARE(QDir::temp().entryList({"qtsingleapp-tstloc-*-lockfile"}).size(), 1);
}

void TestLocalPeer::handOver_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("address") << "--callto tel:+74951234567";
    QTest::newRow("nothing") << "";
    QTest::newRow("beyond Latin") << u"\u0442\u0435\u0441\u0442 \U0001F4DE"_qs;
    QTest::newRow("zero inside") << u"a\0b"_qs;
    QTest::newRow("a megabyte") << QString(1024 * 1024, u'x');
}

void TestLocalPeer::handOver()
{
    QFETCH(QString, text);

    QtLocalPeer first(nullptr, "handOver");
    QVERIFY(!first.isSecondary());
    QSignalSpy received(&first, &QtLocalPeer::messageReceived);
    QVERIFY(SendFromElsewhere("handOver", text));
    QTRY_COMPARE(received.size(), 1);
    QCOMPARE(received.at(0).at(0).toString(), text);
    QVERIFY(!first.isSecondary());
    QVERIFY2(!first.sendMessage(text, 1000), "the first has nobody to talk to");
}

void TestLocalPeer::claimOnFirstUse()
{
    QtLocalPeer undecided(nullptr, "claim");
    QtLocalPeer sender(nullptr, "claim");
    QVERIFY(!sender.sendMessage("to nobody", 1000));
    QVERIFY(!sender.isSecondary());
    bool secondary = false;
    StartThread([&] { secondary = QtLocalPeer(nullptr, "claim").isSecondary(); })->wait();
    QVERIFY(secondary);
}

void TestLocalPeer::takeOver()
{
    auto first = std::make_unique<QtLocalPeer>(nullptr, "takeOver");
    QVERIFY(!first->isSecondary());
    first.reset();
    QtLocalPeer second(nullptr, "takeOver");
    QVERIFY(!second.isSecondary());
    QSignalSpy received(&second, &QtLocalPeer::messageReceived);
    QVERIFY(SendFromElsewhere("takeOver", "hello"));
    QTRY_COMPARE(received.size(), 1);
}

void TestLocalPeer::takeOverFromKilled()
{
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {"first", "killed"});
    QVERIFY(child.waitForReadyRead(30000));
    QCOMPARE(child.readLine().trimmed(), QByteArray("first"));
    QtLocalPeer second(nullptr, "killed");
    QVERIFY(second.isSecondary());
    child.kill();
    QVERIFY(child.waitForFinished());
    QTRY_VERIFY(!second.isSecondary());
    QSignalSpy received(&second, &QtLocalPeer::messageReceived);
    QVERIFY2(SendFromElsewhere("killed", "hello"), "the socket that the killed one left does not matter");
    QTRY_COMPARE(received.size(), 1);
}

void TestLocalPeer::lockFileCannotBeMade()
{
    const QString lockFileName = SocketName("unmade") + "-lockfile";
    QVERIFY(QDir::temp().remove(lockFileName) && QDir::temp().mkdir(lockFileName));
#ifdef Q_OS_WIN
    QtLocalPeer peer(nullptr, "unmade");
    QTest::ignoreMessage(QtWarningMsg, "QtLockedFile::lock(): file is not opened");
    QVERIFY(peer.isSecondary());
#else
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("not a file of this user"));
    QtLocalPeer peer(nullptr, "unmade");
    QVERIFY(!peer.isSecondary());
#endif
}

void TestLocalPeer::clients_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("leaves");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QString>("warning");

    const QByteArray whole = OnTheWire("hello");
    for (int size = 0; size <= whole.size(); ++size) {
        const QByteArray text = whole.mid(4, size - 4).leftJustified(5, '\0');
        QTest::addRow("leaves after %d bytes", size)
            << whole.left(size) << true << (size < 4 ? QString() : QString::fromLatin1(text))
            << (size < 4 ? "QtLocalPeer: Peer disconnected" : "");
    }
    QTest::newRow("pause inside") << whole.left(6) << false << u"he\0\0\0"_qs << "";
    QTest::newRow("stays after the answer") << whole << false << "hello"
                                            << "";
    QTest::newRow("says more than announced") << whole + "world" << false << "hello"
                                              << "";
    const QString failure = "QtLocalPeer: Message reception failed a text of %1 bytes is too long";
    QTest::newRow("claims 4 GiB") << WithLength(0xffffffff, "x") << true << QString()
                                  << failure.arg(0xffffffff);
    QTest::newRow("claims a byte too much")
        << WithLength(16 * 1024 * 1024 + 1, "x") << false << QString() << failure.arg(16 * 1024 * 1024 + 1);
    QTest::newRow("claims 16 MiB") << WithLength(16 * 1024 * 1024, "x") << true
                                   << "x" + QString(16 * 1024 * 1024 - 1, QChar(u'\0')) << "";
    QTest::newRow("no UTF-8") << OnTheWire("a\xff") << true << u"a\ufffd"_qs << "";
}

void TestLocalPeer::clients()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, leaves);
    QFETCH(QString, expected);
    QFETCH(QString, warning);

    const QString appId = QString("clients ") + QTest::currentDataTag();
    const QString socketName = SocketName(appId);
    QtLocalPeer first(nullptr, appId);
    QVERIFY(!first.isSecondary());
    QSignalSpy received(&first, &QtLocalPeer::messageReceived);
    if (!warning.isEmpty()) {
        QTest::ignoreMessage(QtWarningMsg, warning.toLatin1().constData());
    }
    const auto client = ConnectTo(socketName);
    QVERIFY(client);
    client->write(bytes);
    if (leaves) {
        client->flush();
        client->disconnectFromServer();
    }
    if (!expected.isNull()) {
        QTRY_COMPARE(received.size(), 1);
        QVERIFY(received.takeFirst().at(0).toString() == expected);
        QVERIFY(leaves || client->readAll() == "ack");
    }
    QVERIFY(SendFromElsewhere(appId, "honest"));
    QTRY_COMPARE(received.size(), 1);
    QCOMPARE(received.at(0).at(0).toString(), "honest");
}

void TestLocalPeer::dribblingClient()
{
    const QString socketName = SocketName("dribble");
    QtLocalPeer first(nullptr, "dribble");
    QVERIFY(!first.isSecondary());
    QSignalSpy received(&first, &QtLocalPeer::messageReceived);
    const auto client = ConnectTo(socketName);
    QVERIFY(client);
    for (const char byte : OnTheWire("hello")) {
        client->putChar(byte);
        QTest::qWait(300); // Longer than the patience with a text, all in all.
    }
    QTRY_COMPARE(received.size(), 1);
    QCOMPARE(received.at(0).at(0).toString(), "hello");
    QCOMPARE(client->readAll(), QByteArray("ack"));
}

void TestLocalPeer::silentClients()
{
    const QString socketName = SocketName("silent");
    QtLocalPeer first(nullptr, "silent");
    QVERIFY(!first.isSecondary());
    QSignalSpy received(&first, &QtLocalPeer::messageReceived);

    std::vector<std::unique_ptr<QLocalSocket>> clients;
    for (int i = 0; i < 127; ++i) {
        clients.push_back(ConnectTo(socketName));
        QVERIFY(clients.back());
        QCoreApplication::processEvents();
    }
    QElapsedTimer timer;
    timer.start();
    QVERIFY(SendFromElsewhere("silent", "no waiting"));
    QVERIFY2(timer.elapsed() < 2000, "a place is left, so nobody waits for the silent ones");

    clients.push_back(ConnectTo(socketName));
    QVERIFY(clients.back());
    QTest::ignoreMessage(QtWarningMsg, "QtLocalPeer: Peer disconnected");
    QVERIFY2(SendFromElsewhere("silent", "place made"), "the oldest silent one has to go");
    QTRY_COMPARE(received.size(), 2);

    clients.back()->write(OnTheWire("late"));
    QTRY_COMPARE(received.size(), 3);
    for (int i = 0; i < 126; ++i) {
        QTest::ignoreMessage(QtWarningMsg, "QtLocalPeer: Peer disconnected");
    }
    clients.clear();
    QTest::qWait(100);
}

void TestLocalPeer::receiverDeletesPeer()
{
    auto* const first = new QtLocalPeer(nullptr, "deleted");
    QVERIFY(!first->isSecondary());
    bool deleted = false;
    connect(first, &QtLocalPeer::messageReceived, this, [&] {
        delete first;
        deleted = true;
    });
    QVERIFY(SendFromElsewhere("deleted", "go"));
    QTRY_VERIFY(deleted);
}

void TestLocalPeer::foreignAnswer()
{
    const QString socketName = SocketName("foreign");
    QtLockedFile lockFile(QDir::temp().filePath(socketName + "-lockfile"));
    QVERIFY(lockFile.open(QIODevice::ReadWrite) && lockFile.lock(QtLockedFile::WriteLock, false));
    QLocalServer server;
    QVERIFY(server.listen(socketName));
    connect(&server, &QLocalServer::newConnection, this, [&server] {
        QLocalSocket* const socket = server.nextPendingConnection();
        connect(socket, &QLocalSocket::readyRead, socket, [socket] { socket->write("nak"); });
    });
    QVERIFY(!SendFromElsewhere("foreign", "hello"));
}

void TestLocalPeer::firstThatDoesNotAnswer()
{
    const QString socketName = SocketName("mute");
    QtLockedFile lockFile(QDir::temp().filePath(socketName + "-lockfile"));
    QVERIFY(lockFile.open(QIODevice::ReadWrite) && lockFile.lock(QtLockedFile::WriteLock, false));
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!SendFromElsewhere("mute", "hello", 400));
    QVERIFY2(timer.elapsed() >= 200 + 250 + 200, "half the time, a pause, half the time");
}

int main(int argc, char** argv)
{
    if (argc == 3 && qstrcmp(argv[1], "first") == 0) {
        return RunChild(argc, argv);
    }
    // The files of this run only, in a folder that children inherit.
    const QTemporaryDir dir;
    for (const char* variable : {"TMPDIR", "TMP", "TEMP"}) {
        qputenv(variable, dir.path().toLocal8Bit());
    }
    QCoreApplication application(argc, argv);
    TestLocalPeer test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_localpeer.moc"
