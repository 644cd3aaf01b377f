#include "peers.h"
#include "table.h"

#include <QElapsedTimer>
#include <QRegularExpression>

#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

class TestLocalPeer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void names();
    void handOver();
    void heir();
    void socketIsTaken();
    void lockFileCannotBeMade();
    void clients_data();
    void clients();
    void busyFirst();
    void manyClients();
    void deliveredAfterClose();
    void acknowledgedTextOutlivesPeer();
    void movedToThread();
    void deafFirst();

private:
    const PrivateTemp temp;
};

void TestLocalPeer::names()
{
    // The expected checksums (CRC-16, ISO 3309) come from another program.
    const QString name = SocketName("@AZ[`az{");
    QCOMPARE(name.section('-', 0, 2), "qtsingleapp-AZaz-e325");
    QVERIFY2(!name.section('-', 3).isEmpty(), "the group");
    QVERIFY(QDir::temp().exists(name + "-lockfile"));
    QCOMPARE(SocketName("Vexline" + QString(300, u'x')).section('-', 0, 2), "qtsingleapp-Vexlin-e60a");
    QCOMPARE(SocketName("").section('-', 0, 1), "qtsingleapp-tstloc");
    QCOMPARE(QtLocalPeer(nullptr, "").applicationId(), QCoreApplication::applicationFilePath().toLower());
}

void TestLocalPeer::handOver()
{
    Primary first("handOver");
    const QString text = u"a\0\u0442\u0435\u0441\u0442 \U0001F4DE"_s + QString(1'000'000, u'x');
    QVERIFY(SendFromElsewhere("handOver", text));
    QVERIFY(SendFromElsewhere("handOver", ""));
    QTRY_COMPARE(first.received, QStringList({text, ""}));
}

// The end of a primary instance must not remove the socket of its successor.
void TestLocalPeer::heir()
{
    auto first = std::make_unique<QtLocalPeer>(nullptr, "heir");
    QVERIFY2(!first->sendMessage("to no process", 1000), "becomes the first");
    QtLocalPeer heir(nullptr, "heir");
    bool inherited = false;
    connect(first.get(), &QObject::destroyed, this, [&] { inherited = !heir.isSecondary(); });
    first.reset();
    QVERIFY(inherited);
    QVERIFY2(SendFromElsewhere("heir", "hello", -2), "with no limit");
}

// If a running server uses the socket, the process still becomes the primary instance. It starts to listen
// after the server has closed the socket.
void TestLocalPeer::socketIsTaken()
{
    const QString socketName = SocketName("taken");
    QLocalServer server;
    QVERIFY(server.listen(socketName));
    QTest::ignoreMessage(
        QtWarningMsg,
        QRegularExpression("^QtSingleCoreApplication: listen on local socket failed, .* in use"));
    const Primary first("taken");
    ConnectTo(socketName);
    QVERIFY2(server.waitForNewConnection(1000), "still the other's");
    server.close();
    QTRY_VERIFY_WITH_TIMEOUT(SendFromElsewhere("taken", "hello"), 20000);
}

// If the lock file cannot be created, the peer creates none in the working directory and does not wait for
// another process.
void TestLocalPeer::lockFileCannotBeMade()
{
    SetTempPath(temp.filePath("missing"));
    QtLocalPeer peer(nullptr, "homeless");
    SetTempPath(temp.path());
    QTest::ignoreMessage(QtWarningMsg, "QtLockedFile::lock(): file is not opened");
    QVERIFY(!peer.sendMessage("x", -1));
    QVERIFY(QDir().entryList({"qtsingleapp-*"}).isEmpty());
}

void TestLocalPeer::clients_data()
{
    const Table<QByteArray, bool, QStringList, QString> row("bytes", "leaves", "expected", "warning");
    const QByteArray whole = OnTheWire("hello", 5);
    row("leaves inside the length", whole.left(3), true, {}, "QtLocalPeer: Peer disconnected");
    row("leaves inside the text", whole.left(6), true, {u"he\0\0\0"_s}, "");
    constexpr quint32 limit = 16 * 1024 * 1024;
    const QString tooLong = "QtLocalPeer: Message reception failed a text of %1 bytes is too long";
    row("claims 4 GiB", OnTheWire("x", 0xffffffff), true, {}, tooLong.arg(0xffffffff));
    row("claims a byte too much", OnTheWire("x", limit + 1), false, {}, tooLong.arg(limit + 1));
}

void TestLocalPeer::clients()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, leaves);
    QFETCH(QStringList, expected);
    QFETCH(QString, warning);

    const QString appId = QString("clients ") + QTest::currentDataTag();
    Primary first(appId);
    if (!warning.isEmpty()) {
        QTest::ignoreMessage(QtWarningMsg, warning.toLatin1().constData());
    }
    const auto client = ConnectTo(first.SocketName(), bytes);
    if (leaves) {
        client->disconnectFromServer();
    }
    QTRY_COMPARE(first.received, expected);
    QVERIFY(SendFromElsewhere(appId, "honest"));
    QTRY_COMPARE(first.received, expected + QStringList("honest"));
    QTRY_VERIFY2(first.peer.findChildren<QLocalSocket*>().isEmpty(), "no client is served any more");
}

// Data that arrives while the primary instance is busy must not count as late.
void TestLocalPeer::busyFirst()
{
    Primary first("busy");
    const QByteArray text(180000, 'x');
    const auto slow = ConnectTo(first.SocketName(), OnTheWire("x", quint32(text.size())));
    QTest::qWait(1100);
    slow->write("x");
    QTest::qWait(1100);
    slow->write(text.mid(2));
    slow->flush();
    QThread::msleep(2100);
    QTRY_COMPARE(first.received, QStringList(text));
}

void TestLocalPeer::manyClients()
{
    Primary first("many");
    std::vector<std::unique_ptr<QLocalSocket>> silent;
    for (int i = 0; i < 256; ++i) {
        silent.push_back(ConnectTo(first.SocketName()));
        // On Windows, a connection blocks while the backlog is full, and this thread has to empty it.
        QVERIFY(QTest::qWaitFor([&] { return first.peer.findChildren<QLocalSocket*>().size() > i; }));
    }
    const auto late = ConnectTo(first.SocketName(), OnTheWire("late", 4));
    QTest::qWait(200);
    QVERIFY2(late->bytesAvailable() == 0, "all places are taken");
    QTest::ignoreMessage(QtWarningMsg, "QtLocalPeer: Peer disconnected");
    silent.pop_back();
    QTRY_COMPARE(first.received, QStringList("late"));
    QTest::failOnWarning(QRegularExpression("^(?!QtLocalPeer: Peer disconnected)"));
}

// The connection is closed before the message is delivered, so the client does not wait for the receiver.
void TestLocalPeer::deliveredAfterClose()
{
    Primary first("close");
    QElapsedTimer timer;
    timer.start();
    const auto client = ConnectTo(first.SocketName(), OnTheWire("hello", 5) + "more than announced");
    connect(&first.peer, &QtLocalPeer::messageReceived, client.get(), [&] {
        QVERIFY(client->waitForDisconnected(1000));
        QVERIFY2(timer.elapsed() >= 900, "a client has a second to leave");
    });
    QTRY_COMPARE(first.received, QStringList("hello"));
    QCOMPARE(client->readAll(), "ack");
}

// A slot deletes the peer while another acknowledged message is still undelivered.
void TestLocalPeer::acknowledgedTextOutlivesPeer()
{
    auto* first = new Primary("end");
    QStringList received;
    connect(&first->peer, &QtLocalPeer::messageReceived, this, [&](const QString& text) {
        received += text;
        delete std::exchange(first, nullptr);
    });
    const auto client = ConnectTo(first->SocketName(), OnTheWire("stays", 5));
    QTRY_COMPARE(client->bytesAvailable(), 3);
    QVERIFY(SendFromElsewhere("end", "leaves"));
    QTRY_COMPARE(received, QStringList({"leaves", "stays"}));
}

// A peer may be moved to another thread before its first call. Qt warns if the peer's timers are not moved.
void TestLocalPeer::movedToThread()
{
    QTest::failOnWarning(QRegularExpression("."));
    QThread thread;
    auto* const peer = new QtLocalPeer(nullptr, "moved");
    peer->moveToThread(&thread);
    connect(&thread, &QThread::started, peer, &QtLocalPeer::isSecondary);
    bool claimed = false;
    connect(&thread, &QThread::started, this, [&claimed] { claimed = true; });
    thread.start(); // Start last: race detectors do not recognise that Qt's events are ordered.
    QTRY_VERIFY(claimed);
    const bool sent = SendFromElsewhere("moved", "hello");
    peer->deleteLater();
    thread.quit();
    thread.wait();
    QVERIFY(sent);
}

// The primary instance holds the lock but does not listen. If connections are refused, sending soon fails,
// whatever the timeout.
void TestLocalPeer::deafFirst()
{
    const QString socketName = SocketName("deaf first");
    QtLockedFile lockFile(QDir::temp().filePath(socketName + "-lockfile"));
    QVERIFY(lockFile.open(QIODevice::ReadWrite));
    QVERIFY(lockFile.lock(QtLockedFile::WriteLock, false));
    for (const int timeout : {5000, -1, -2}) {
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!SendFromElsewhere("deaf first", "hello", timeout));
        QVERIFY2(timer.elapsed() >= 250, "a pause between the attempts");
        QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
    }
    // This server accepts clients but never replies.
    QLocalServer server;
    QVERIFY(server.listen(socketName));
    QVERIFY(!SendFromElsewhere("deaf first", "hello", 400));
}

QTEST_GUILESS_MAIN(TestLocalPeer)
#include "tst_localpeer.moc"
