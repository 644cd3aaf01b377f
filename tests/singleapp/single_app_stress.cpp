// The program of scripts/stress.sh: many processes at once, a primary instance that dies, and hostile
// clients.
//   single_app_stress storm|kill|hostile ROUNDS [PROCESSES OR CLIENTS]
// Prints one line per round and exits with 1 if any failed. Starts itself as the other processes.

#include "peers.h"

#include <QElapsedTimer>
#include <QFile>
#include <QLocalSocket>
#include <QProcess>
#include <QSet>

#include <algorithm>
#include <cstdio>
#include <vector>

#include <sys/resource.h>

namespace
{

// Two hundred processes on few cores start slowly; how long one takes is not tested here.
constexpr int patience = 60000;

constexpr int maxAttempts = 10;

// Limit of the memory for all clients of one process.
constexpr long long maxGrowth = MAX_GROWTH_MIB * 1024LL; // KiB

bool WaitFor(const std::function<bool()>& condition)
{
    return QTest::qWaitFor(condition, patience);
}

void Say(const QByteArray& line)
{
    std::puts(line.constData());
    static_cast<void>(std::fflush(stdout));
}

/// Runs one of the processes: waits for the starting signal, then sends its message or becomes the primary
/// instance, which runs until it is killed. A primary instance that dies may close its socket a moment before
/// its lock is free.
int RunPeer(const QString& appId, const QString& text)
{
    QtLocalPeer peer(nullptr, appId);
    // Shortened: the reader of the output may be busy, and a full pipe would block this process.
    QObject::connect(&peer, &QtLocalPeer::messageReceived, &peer,
                     [](const QString& message) { Say("received " + message.left(50).toUtf8()); });
    Say("ready");
    static_cast<void>(std::getchar());
    for (int attempts = 0; peer.isSecondary(); ++attempts) {
        if (attempts == maxAttempts || peer.sendMessage(text, patience)) {
            Say(attempts == maxAttempts ? "failed" : "sent");
            return 0;
        }
        Say("again");
    }
    Say("first");
    return QCoreApplication::exec();
}

class Peer : public QProcess
{
public:
    Peer(const QString& appId, const QString& text)
    {
        start(QCoreApplication::applicationFilePath(), {"peer", appId, text});
    }
    ~Peer() override
    {
        kill();
        waitForFinished();
    }

    const QByteArrayList& Lines()
    {
        while (canReadLine()) {
            lines += readLine().trimmed();
        }
        return lines;
    }
    bool Said(const QByteArray& line) { return Lines().contains(line); }
    bool Says(const QByteArray& line)
    {
        return WaitFor([&] { return Said(line); });
    }

private:
    QByteArrayList lines;
};

/// Processes that start at once.
class Crowd
{
public:
    Crowd(const QString& appId, int size)
    {
        for (int i = 0; i < size; ++i) {
            peers.push_back(std::make_unique<Peer>(appId, QString::number(i)));
        }
        WaitFor([&] { return Count("ready") == size; });
        for (const auto& peer : peers) {
            peer->write("\n");
        }
    }

    void Add(std::unique_ptr<Peer> peer) { peers.push_back(std::move(peer)); }
    int Count(const QByteArray& line)
    {
        return static_cast<int>(
            std::count_if(peers.begin(), peers.end(), [&](const auto& peer) { return peer->Said(line); }));
    }
    /// Waits for the primary instance.
    Peer* First()
    {
        WaitFor([&] { return Count("first") > 0; });
        const auto first = FindFirst();
        return first != peers.end() ? first->get() : nullptr;
    }
    void KillFirst() { peers.erase(FindFirst()); }
    bool HasEnded()
    {
        return Count("first") + Count("sent") + Count("failed") == static_cast<int>(peers.size());
    }

private:
    using Peers = std::vector<std::unique_ptr<Peer>>;
    Peers::iterator FindFirst()
    {
        return std::find_if(peers.begin(), peers.end(), [](const auto& peer) { return peer->Said("first"); });
    }

    Peers peers;
};

/// All start at once: one is the primary instance and receives the message of each other exactly once, at the
/// first attempt. If it is killed in the meantime, exactly one takes its place and receives the rest and a
/// newcomer's; what the dead one had received but not acknowledged is sent again, but no process receives a
/// message twice.
bool Storm(int round, int size, bool killFirst)
{
    const QString appId = QStringLiteral("storm%1").arg(round);
    Crowd crowd(appId, size);
    QElapsedTimer timer;
    timer.start();
    if (killFirst && crowd.First() != nullptr) {
        // The moment varies from round to round.
        const int moment = 2 + size * (round % 20) / 20;
        WaitFor([&] { return crowd.First()->Lines().size() > moment; });
        crowd.KillFirst();
    }
    const bool allEnded = WaitFor([&] { return crowd.HasEnded(); });
    auto newcomer = std::make_unique<Peer>(appId, "newcomer");
    newcomer->write("\n");
    // The newcomer itself if the one that was killed had received all messages.
    const Peer* const last = newcomer.get();
    crowd.Add(std::move(newcomer));
    Peer* const first = crowd.First();
    if (first == nullptr) {
        Say("no process is the first");
        return false;
    }
    const bool heard = first == last || first->Says("received newcomer");
    QByteArrayList lines = first->Lines();
    lines.removeAll("again");
    const bool twice = QSet<QByteArray>(lines.begin(), lines.end()).size() != lines.size();
    const int texts = static_cast<int>(lines.size()) - 2; // Without "ready" and "first".
    std::printf("%s %d: %d first, %d sent, %d of them not at the first attempt, %d failed, "
                "%d messages arrived at the last first%s, newcomer %s, %lld ms\n",
                killFirst ? "kill" : "storm", round, crowd.Count("first"), crowd.Count("sent"),
                crowd.Count("again"), crowd.Count("failed"), texts, twice ? ", some twice" : "",
                heard ? "heard" : "not heard", static_cast<long long>(timer.elapsed()));
    return allEnded && heard && !twice && crowd.Count("first") == 1 && crowd.Count("failed") == 0 &&
           (killFirst || (texts == size && crowd.Count("again") == 0));
}

/// Returns the peak resident memory of a process, in KiB.
long long PeakMemory(const QProcess& process)
{
    QFile file(QStringLiteral("/proc/%1/status").arg(process.processId()));
    file.open(QIODevice::ReadOnly);
    const QByteArray status = file.readAll();
    return status.mid(status.indexOf("VmHWM:")).simplified().split(' ').value(1).toLongLong();
}

/// Clients without a connection, which would make the test void.
int refusedClients = 0;

std::unique_ptr<QLocalSocket> Client(const QString& name, const QByteArray& bytes)
{
    auto socket = std::make_unique<QLocalSocket>();
    socket->connectToServer(name);
    refusedClients += socket->waitForConnected(10000) ? 0 : 1;
    socket->write(bytes);
    socket->waitForBytesWritten(bytes.isEmpty() ? 0 : 10000);
    return socket;
}

/// Sends up to 4 GiB, until the other side ends the connection or stops reading.
void Flood(QLocalSocket& socket)
{
    const QByteArray piece(qsizetype{1024} * 1024, 'x');
    for (int i = 0; i < 4096 && socket.write(piece) > 0; ++i) {
        if (!socket.waitForBytesWritten(3000)) {
            return;
        }
    }
}

/// Floods the primary instance, then connects clients that stay; some announce much, the others are silent.
/// An honest message must arrive.
bool Hostile(int round, int clients)
{
    const QString appId = QStringLiteral("hostile%1").arg(round);
    const QString name = SocketName(appId);
    Peer first(appId, "x");
    first.write("\n");
    if (!first.Says("first")) {
        return false;
    }
    const long long before = PeakMemory(first);
    const QByteArray greatClaim = OnTheWire("x", 16 * 1024 * 1024);
    Flood(*Client(name, greatClaim));
    Flood(*Client(name, OnTheWire("x", 0xffffffff)));
    std::vector<std::unique_ptr<QLocalSocket>> crowd;
    crowd.reserve(static_cast<std::size_t>(clients));
    for (int i = 0; i < clients; ++i) {
        crowd.push_back(Client(name, i < 16 ? greatClaim : i % 2 == 0 ? QByteArray() : QByteArray(2, '\0')));
    }
    QElapsedTimer timer;
    timer.start();
    Peer honest(appId, "honest");
    honest.write("\n");
    const bool heard = first.Says("received honest") && honest.Says("sent");
    const long long peak = PeakMemory(first);
    std::printf("hostile %d: honest message %s after %lld ms behind %d clients that stay, "
                "memory %lld MiB at the beginning, %lld MiB at most\n",
                round, heard ? "arrived" : "did not arrive", static_cast<long long>(timer.elapsed()), clients,
                before >> 10, peak >> 10);
    return heard && refusedClients == 0 && before > 0 && peak - before < maxGrowth;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 4 && arguments.at(1) == "peer") {
        return RunPeer(arguments.at(2), arguments.at(3));
    }
    // Three pipes per child and a socket per client.
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);

    const PrivateTemp temp;
    const QString what = arguments.value(1);
    const int rounds = arguments.value(2).toInt();
    const int size = arguments.value(3, "200").toInt();
    bool good = rounds > 0;
    for (int round = 1; round <= rounds; ++round) {
        good = (what == "hostile" ? Hostile(round, size) : Storm(round, size, what == "kill")) && good;
        static_cast<void>(std::fflush(stdout));
    }
    std::puts(good ? "passed" : "FAILED");
    return good ? 0 : 1;
}
