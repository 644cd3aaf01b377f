#include "peers.h"
#include "table.h"

#include <QElapsedTimer>
#include <QLocalSocket>
#include <QPointer>
#include <QRegularExpression>
#include <QSignalSpy>

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

} // namespace

class TestLocalPeer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void names();
    void handOver();
    void heir();
    void socketCannotBeMade();
    void lockFileCannotBeMade();
    void clients_data();
    void clients();
    void busyFirst();
    void longTextsAreCounted();
    void receiverDeletesPeer();
    void movedToThread();
    void firstThatDoesNotAnswer();
};

void TestLocalPeer::names()
{
    // The checksums are CRC-16 of ISO 3309, calculated by another program.
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
    QtLocalPeer first(nullptr, "handOver");
    QVERIFY(!first.isSecondary());
    QSignalSpy received(&first, &QtLocalPeer::messageReceived);
    const QString text = u"a\0\u0442\u0435\u0441\u0442 \U0001F4DE"_qs + QString(1'000'000, u'x');
    QVERIFY(SendFromElsewhere("handOver", text));
    QVERIFY(SendFromElsewhere("handOver", ""));
    QTRY_COMPARE(received.size(), 2);
    QCOMPARE(received.at(0).at(0).toString(), text);
    QCOMPARE(received.at(1).at(0).toString(), "");
}

// One that claims as soon as the lock is free keeps its socket.
void TestLocalPeer::heir()
{
    auto first = std::make_unique<QtLocalPeer>(nullptr, "heir");
    QVERIFY2(!first->sendMessage("to nobody", 1000), "becomes the first");
    QtLocalPeer heir(nullptr, "heir");
    bool inherited = false;
    connect(first.get(), &QObject::destroyed, this, [&] { inherited = !heir.isSecondary(); });
    first.reset();
    QVERIFY2(inherited && SendFromElsewhere("heir", "hello", -2), "with no limit");
}

// It is the first all the same, and tries again.
void TestLocalPeer::socketCannotBeMade()
{
    const QString path = QDir::temp().filePath(SocketName("deaf"));
    QtLocalPeer first(nullptr, "deaf");
#ifdef Q_OS_LINUX
    QVERIFY(QDir().mkdir(path));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("listen on local socket failed"));
#endif
    QVERIFY(!first.isSecondary());
    QDir().rmdir(path);
    QVERIFY(SendFromElsewhere("deaf", "hello"));
}

// Nothing comes into the working directory then, and nobody is waited for.
void TestLocalPeer::lockFileCannotBeMade()
{
    const QString folder = QDir::tempPath();
    SetTempPath(folder + "/missing");
    QtLocalPeer peer(nullptr, "homeless");
    SetTempPath(folder);
    QTest::ignoreMessage(QtWarningMsg, "QtLockedFile::lock(): file is not opened");
    QVERIFY(!peer.sendMessage("x", -1));
    QVERIFY(QDir().entryList({"qtsingleapp-*"}).isEmpty());
}

void TestLocalPeer::clients_data()
{
    const Table<QByteArray, bool, QString, QString> row("bytes", "leaves", "expected", "warning");
    const QByteArray whole = OnTheWire("hello", 5);
    row("leaves inside the length", whole.left(3), true, {}, "QtLocalPeer: Peer disconnected");
    row("leaves inside the text", whole.left(6), true, u"he\0\0\0"_qs, "");
    row("stays, with more than announced", whole + "world", false, "hello", "");
    constexpr quint32 limit = 16 * 1024 * 1024;
    const QString tooLong = "QtLocalPeer: Message reception failed a text of %1 bytes is too long";
    row("claims 4 GiB", OnTheWire("x", 0xffffffff), true, {}, tooLong.arg(0xffffffff));
    row("claims a byte too much", OnTheWire("x", limit + 1), false, {}, tooLong.arg(limit + 1));
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

// Nobody pays for what the first process does for longer than its clients are granted. A text has time as
// long as it goes on.
void TestLocalPeer::busyFirst()
{
    const QString socketName = SocketName("busy");
    QtLocalPeer first(nullptr, "busy");
    QVERIFY(!first.isSecondary());
    QSignalSpy received(&first, &QtLocalPeer::messageReceived);
    auto slow = ConnectTo(socketName);
    QVERIFY(slow);
    const QByteArray text(180000, 'x');
    slow->write(OnTheWire("x", quint32(text.size())));
    QTest::qWait(1100);
    slow->write("x");
    QTest::qWait(1100);
    slow->write(text.mid(2));
    slow->flush();
    QThread::msleep(2100);
    QTRY_COMPARE(received.size(), 1);
    QVERIFY(received.at(0).at(0).toString() == text);
    slow.reset();
    QTRY_VERIFY2(first.findChildren<QLocalSocket*>().isEmpty(), "all places are free again");

    std::vector<std::unique_ptr<QLocalSocket>> clients;
    for (int i = 0; i < 129; ++i) {
        QCoreApplication::processEvents();
        clients.push_back(ConnectTo(socketName));
        QVERIFY(clients.back());
    }
    for (const auto& client : clients) {
        client->write(OnTheWire("hello", 5));
        client->flush();
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
    const QPointer<QtLocalPeer> first = new QtLocalPeer(nullptr, "deleted");
    QVERIFY(!first->isSecondary());
    connect(first, &QtLocalPeer::messageReceived, this, [&first] { delete first; });
    QVERIFY(SendFromElsewhere("deleted", "go"));
    QTRY_VERIFY(first.isNull());
}

// Before it is asked anything; its timers go along, or Qt warns.
void TestLocalPeer::movedToThread()
{
    QTest::failOnWarning(QRegularExpression("."));
    QThread thread;
    thread.start();
    auto* const peer = new QtLocalPeer(nullptr, "moved");
    peer->moveToThread(&thread);
    QMetaObject::invokeMethod(
        peer, [peer] { peer->isSecondary(); }, Qt::BlockingQueuedConnection);
    const bool sent = SendFromElsewhere("moved", "hello");
    peer->deleteLater();
    thread.quit();
    thread.wait();
    QVERIFY(sent);
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

    // Neither does this one, whose clients connect.
    QLocalServer server;
    QVERIFY(server.listen(socketName));
    QVERIFY(!SendFromElsewhere("mute", "hello", 400));
}

int main(int argc, char** argv)
{
    const PrivateTemp temp;
    QCoreApplication application(argc, argv);
    TestLocalPeer test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_localpeer.moc"
