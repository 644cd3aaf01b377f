#include "peers.h"

#include <QDataStream>
#include <QElapsedTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>

#include <cstdio>
#include <vector>

using QtLP_Private::QtLockedFile;

namespace
{

std::unique_ptr<QLocalSocket> ConnectTo(const QString& socketName)
{
    auto socket = std::make_unique<QLocalSocket>();
    socket->connectToServer(socketName);
    return socket->waitForConnected(10000) ? std::move(socket) : nullptr;
}

/// A text on the wire, with a length that may be a lie.
QByteArray OnTheWire(const QByteArray& text, quint32 length)
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
    static_cast<void>(std::fflush(stdout));
    return QCoreApplication::exec();
}

} // namespace

class TestLocalPeer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void names_data();
    void names();
    void handOver_data();
    void handOver();
    void claim();
    void takeOverFromKilled();
    void lockFileCannotBeMade();
    void clients_data();
    void clients();
    void slowClients();
    void busyFirst();
    void longTextsAreCounted();
    void receiverDeletesPeer();
    void movedToThread();
    void firstThatDoesNotAnswer();
};

void TestLocalPeer::names_data()
{
    QTest::addColumn<QString>("appId");
    QTest::addColumn<QString>("expected");

    // The checksums are CRC-16 of ISO 3309, calculated by another program.
    QTest::newRow("letters only") << "@AZ[`az{"
                                  << "qtsingleapp-AZaz-e325";
    QTest::newRow("no letters") << "123"
                                << "qtsingleapp--9cb4";
    QTest::newRow("same prefix, a") << "vexline-a"
                                    << "qtsingleapp-vexlin-dcf6";
    QTest::newRow("same prefix, b") << "vexline-b"
                                    << "qtsingleapp-vexlin-ee6d";
    QTest::newRow("long") << "Vexline" + QString(300, u'x') << "qtsingleapp-Vexlin-e60a";
    QTest::newRow("path of the executable") << ""
                                            << "qtsingleapp-tstloc-";
}

void TestLocalPeer::names()
{
    QFETCH(QString, appId);
    QFETCH(QString, expected);

    const QString name = SocketName(appId);
    QVERIFY2(QRegularExpression('^' + expected + "[0-9a-f]*-[0-9a-f]+$").match(name).hasMatch(),
             qPrintable(name));
    const QString path = QCoreApplication::applicationFilePath().toLower();
    QCOMPARE(QtLocalPeer(nullptr, appId).applicationId(), appId.isEmpty() ? path : appId);
}

void TestLocalPeer::handOver_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("nothing") << "";
    QTest::newRow("beyond Latin") << u"\u0442\u0435\u0441\u0442 \U0001F4DE"_qs;
    QTest::newRow("zero inside") << u"a\0b"_qs;
    QTest::newRow("a megabyte") << QString(qsizetype{1024} * 1024, u'x');
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
    QVERIFY2(!first.sendMessage(text, 1000), "the first has nobody to talk to");
}

void TestLocalPeer::claim()
{
    const QtLocalPeer undecided(nullptr, "claim");
    auto first = std::make_unique<QtLocalPeer>(nullptr, "claim");
    QVERIFY2(!first->sendMessage("to nobody", 1000), "becomes the first");
    QVERIFY(!first->isSecondary());
    QVERIFY(IsTaken("claim"));
    first.reset();
    QVERIFY(!IsTaken("claim"));

    // One that claims as soon as the lock is free keeps its socket.
    QtLocalPeer heir(nullptr, "claim");
    first = std::make_unique<QtLocalPeer>(nullptr, "claim");
    QVERIFY(!first->isSecondary());
    bool inherited = false;
    connect(first.get(), &QObject::destroyed, this, [&] { inherited = !heir.isSecondary(); });
    first.reset();
    QVERIFY2(inherited && SendFromElsewhere("claim", "to the heir", -2), "with no limit");
    // A server that had to close opens again, and tells once why it cannot.
    auto* const server = heir.findChild<QLocalServer*>();
    const QString path = server->fullServerName();
    server->close();
#ifdef Q_OS_LINUX
    const QRegularExpression complaint("listen on local socket failed");
    QTest::ignoreMessage(QtWarningMsg, complaint);
    QTest::failOnWarning(complaint);
    QVERIFY(QDir().mkdir(path));
    QTest::qWait(11000); // Two tries.
    QVERIFY(!server->isListening() && QDir().rmdir(path));
#endif
    QTRY_VERIFY_WITH_TIMEOUT(server->isListening(), 10000);
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

    const QByteArray whole = OnTheWire("hello", 5);
    const QString disconnected = "QtLocalPeer: Peer disconnected";
    for (int size = 0; size < 4; ++size) {
        QTest::addRow("leaves after %d bytes", size) << whole.left(size) << true << QString() << disconnected;
    }
    for (int size = 4; size <= whole.size(); ++size) {
        const QByteArray text = whole.mid(4, size - 4).leftJustified(5, '\0');
        QTest::addRow("leaves after %d bytes", size)
            << whole.left(size) << true << QString::fromLatin1(text) << "";
    }
    QTest::newRow("pause inside") << whole.left(6) << false << u"he\0\0\0"_qs << "";
    QTest::newRow("stays, with more than announced") << whole + "world" << false << "hello"
                                                     << "";
    constexpr quint32 limit = 16 * 1024 * 1024;
    const QString tooLong = "QtLocalPeer: Message reception failed a text of %1 bytes is too long";
    QTest::newRow("claims 4 GiB") << OnTheWire("x", 0xffffffff) << true << QString()
                                  << tooLong.arg(0xffffffff);
    QTest::newRow("claims a byte too much")
        << OnTheWire("x", limit + 1) << false << QString() << tooLong.arg(limit + 1);
    QTest::newRow("claims 16 MiB") << OnTheWire("x", limit) << true << "x" + QString(limit - 1, QChar(u'\0'))
                                   << "";
    QTest::newRow("no UTF-8") << OnTheWire("a\xff", 2) << true << u"a\ufffd"_qs << "";
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
        QTRY_VERIFY(leaves || client->bytesAvailable() == 3);
        QVERIFY(leaves || client->readAll() == "ack");
    }
    QVERIFY(SendFromElsewhere(appId, "honest"));
    QTRY_COMPARE(received.size(), 1);
    QCOMPARE(received.at(0).at(0).toString(), "honest");
    QTRY_VERIFY2(first.findChildren<QLocalSocket*>().isEmpty(), "nobody is served any more");
}

// All places taken by clients that say nothing, and one that says a little from time to time.
void TestLocalPeer::slowClients()
{
    const QString socketName = SocketName("slow");
    QtLocalPeer first(nullptr, "slow");
    QVERIFY(!first.isSecondary());
    QSignalSpy received(&first, &QtLocalPeer::messageReceived);
    std::vector<std::unique_ptr<QLocalSocket>> clients;
    for (int i = 0; i < 128; ++i) {
        clients.push_back(ConnectTo(socketName));
        QVERIFY(clients.back());
        QCoreApplication::processEvents();
    }
    const QByteArray text = OnTheWire("hello", 5);
    for (const char byte : text) {
        clients.back()->putChar(byte);
        QTest::qWait(260); // Longer than the patience with a text, all in all.
    }
    QTRY_COMPARE(received.size(), 1);
    QCOMPARE(received.at(0).at(0).toString(), "hello");
    clients.push_back(ConnectTo(socketName));
    for (int i = 0; i < 127; ++i) {
        QTest::ignoreMessage(QtWarningMsg, "QtLocalPeer: Peer disconnected");
    }
    QVERIFY2(SendFromElsewhere("slow", "place made"), "the oldest silent one has to go");
    QTRY_COMPARE(received.size(), 2);
    clients.back()->write(text);
    QTRY_COMPARE(received.size(), 3);
    clients.clear();
    QTest::qWait(100);
}

// Nobody pays for what the first process does for longer than its clients are granted.
void TestLocalPeer::busyFirst()
{
    const QString socketName = SocketName("busy");
    QtLocalPeer first(nullptr, "busy");
    QVERIFY(!first.isSecondary());
    QSignalSpy received(&first, &QtLocalPeer::messageReceived);
    const auto client = ConnectTo(socketName);
    QVERIFY(client);
    const QByteArray text(180000, 'x');
    client->write(OnTheWire("x", quint32(text.size())));
    QTest::qWait(100);
    client->write(text.mid(1));
    client->flush();
    QThread::msleep(2100);
    QTRY_COMPARE(received.size(), 1);
    QVERIFY(received.at(0).at(0).toString() == text);

    std::vector<std::unique_ptr<QLocalSocket>> clients;
    for (int i = 0; i < 128; ++i) {
        clients.push_back(ConnectTo(socketName));
        QCoreApplication::processEvents();
    }
    clients.push_back(ConnectTo(socketName));
    for (const auto& other : clients) {
        QVERIFY(other);
        other->write(OnTheWire("hello", 5));
        other->flush();
    }
    QThread::msleep(300);
    QTRY_COMPARE(received.size(), 1 + 129);
}

void TestLocalPeer::longTextsAreCounted()
{
    const QString socketName = SocketName("long");
    QtLocalPeer first(nullptr, "long");
    QVERIFY(!first.isSecondary());
    QSignalSpy received(&first, &QtLocalPeer::messageReceived);
    QTest::ignoreMessage(QtWarningMsg, "QtLocalPeer: Message reception failed too many long texts at once");
    std::vector<std::unique_ptr<QLocalSocket>> clients;
    for (int i = 0; i < 3; ++i) {
        clients.push_back(ConnectTo(socketName));
        QVERIFY(clients.back());
        clients.back()->write(OnTheWire("x", 16 * 1024 * 1024));
        clients.back()->flush();
        QCoreApplication::processEvents();
    }
    QVERIFY2(SendFromElsewhere("long", QString(qsizetype{64} * 1024, u'x')), "shorter ones get through");
    QTRY_COMPARE(received.size(), 3);
    QVERIFY2(SendFromElsewhere("long", QString(64 * 1024 + 1, u'x')), "the room is given back");
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

// Before it is asked anything; its timers go along, or Qt warns.
void TestLocalPeer::movedToThread()
{
    QTest::failOnWarning(QRegularExpression("."));
    QThread thread;
    thread.start();
    auto* const peer = new QtLocalPeer(nullptr, "moved");
    peer->moveToThread(&thread);
    bool isSecondary = true;
    QMetaObject::invokeMethod(
        peer, [&] { isSecondary = peer->isSecondary(); }, Qt::BlockingQueuedConnection);
    const bool sent = SendFromElsewhere("moved", "hello");
    peer->deleteLater();
    thread.quit();
    thread.wait();
    QVERIFY(!isSecondary && sent);
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

    QLocalServer server;
    QVERIFY(server.listen(socketName));
    connect(&server, &QLocalServer::newConnection, this, [&server] {
        QLocalSocket* const socket = server.nextPendingConnection();
        connect(socket, &QLocalSocket::readyRead, socket, [socket] { socket->write("nak"); });
    });
    QVERIFY2(!SendFromElsewhere("mute", "hello"), "another answer");
}

int main(int argc, char** argv)
{
    if (argc == 3 && qstrcmp(argv[1], "first") == 0) {
        return RunChild(argc, argv);
    }
    const PrivateTemp temp;
    QCoreApplication application(argc, argv);
    TestLocalPeer test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_localpeer.moc"
