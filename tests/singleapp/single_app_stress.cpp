// What scripts/stress.sh runs: many processes at once, a first process that dies, and clients that misbehave.
//   single_app_stress storm|kill|hostile ROUNDS [PROCESSES]
// Prints one line for each round and ends with 1 if any went wrong. Starts itself as the other processes.

#include "peers.h"

#include <QDataStream>
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

// Two hundred processes on few cores start slowly; how long one takes is not what is tested here.
constexpr int patience = 60000;

constexpr int maxTries = 10;

// How much memory, in KiB, the clients of one process may take together. A sanitizer keeps what was freed.
#ifdef SANITIZED
constexpr long long maxGrowth = 1024LL * 1024;
#else
constexpr long long maxGrowth = 128LL * 1024;
#endif

bool WaitFor(const std::function<bool()>& condition)
{
    return QTest::qWaitFor(condition, patience);
}

void Say(const QByteArray& line)
{
    std::puts(line.constData());
    static_cast<void>(std::fflush(stdout));
}

/// One of the many: waits for the starting shot, then hands over its text or is the first, which goes on
/// until it is killed. A first process that dies may close its socket a moment before its lock is free.
int RunPeer(const QString& appId, const QString& text)
{
    QtLocalPeer peer(nullptr, appId);
    QObject::connect(&peer, &QtLocalPeer::messageReceived, &peer,
                     [](const QString& message) { Say("received " + message.toUtf8()); });
    Say("ready");
    static_cast<void>(std::getchar());
    for (int tries = 0; peer.isSecondary(); ++tries) {
        if (tries == maxTries) {
            Say("failed");
            return 0;
        }
        if (peer.sendMessage(text, patience)) {
            Say("sent");
            return 0;
        }
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

struct Arrivals
{
    QSet<QByteArray> texts;
    bool twice = false; ///< One came more than once.
};

/// What a first process has told of.
Arrivals ArrivalsAt(Peer& first)
{
    Arrivals arrivals;
    for (const QByteArray& line : first.Lines()) {
        arrivals.twice = arrivals.twice || arrivals.texts.contains(line);
        arrivals.texts += line;
    }
    arrivals.texts -= {"ready", "first"};
    return arrivals;
}

/// All start at once: one is first and gets the text of each other exactly once. If it is killed in the midst
/// of it, exactly one takes its place and hears the rest and a newcomer; what the dead one had received but
/// not answered comes again, but within one process no text comes twice.
bool Storm(int round, int size, bool killFirst)
{
    const QString appId = QStringLiteral("storm%1").arg(round);
    std::vector<std::unique_ptr<Peer>> peers;
    peers.reserve(static_cast<std::size_t>(size));
    for (int i = 0; i < size; ++i) {
        peers.push_back(std::make_unique<Peer>(appId, QString::number(i)));
    }
    const auto count = [&](const QByteArray& line) {
        return std::count_if(peers.begin(), peers.end(), [&](const auto& peer) { return peer->Said(line); });
    };
    const auto isOver = [&] { return count("first") + count("sent") + count("failed") >= size; };
    if (!WaitFor([&] { return count("ready") == size; })) {
        Say("the processes do not start");
        return false;
    }
    QElapsedTimer timer;
    timer.start();
    for (const auto& peer : peers) {
        peer->write("\n");
    }
    std::unique_ptr<Peer> victim;
    const auto findFirst = [&] {
        return std::find_if(peers.begin(), peers.end(), [](const auto& peer) { return peer->Said("first"); });
    };
    WaitFor([&] { return findFirst() != peers.end(); });
    if (killFirst && findFirst() != peers.end()) {
        // Sooner or later from round to round.
        const int moment = 2 + size * round / 20;
        WaitFor([&] { return findFirst()->get()->Lines().size() > moment; });
        victim = std::move(*findFirst());
        peers.erase(std::find(peers.begin(), peers.end(), nullptr));
        --size;
        victim->kill();
    }
    WaitFor(isOver);
    Peer newcomer(appId, "newcomer");
    newcomer.write("\n");
    Arrivals arrivals;
    bool heard = false;
    if (findFirst() != peers.end()) {
        heard = (*findFirst())->Says("received newcomer");
        arrivals = ArrivalsAt(**findFirst());
    }
    // When it is killed after the last text, there is nobody left to follow.
    const bool isLast = killFirst && count("sent") == size && newcomer.Says("first");
    std::printf(
        "%s %d: %d first, %d handed over, %d failed, %d texts arrived at the last first%s, newcomer %s, "
        "%lld ms\n",
        killFirst ? "kill" : "storm", round, static_cast<int>(count("first")),
        static_cast<int>(count("sent")), static_cast<int>(count("failed")),
        static_cast<int>(arrivals.texts.size()), arrivals.twice ? ", some twice" : "",
        heard    ? "heard"
        : isLast ? "first"
                 : "not heard",
        static_cast<long long>(timer.elapsed()));
    const bool allArrived = killFirst || (count("sent") == size - 1 && arrivals.texts.size() == size);
    return isLast || (count("first") == 1 && count("failed") == 0 && heard && !arrivals.twice && allArrived);
}

/// Resident memory of a process in KiB, now ("VmRSS:") or at its highest ("VmHWM:").
long long MemoryOf(const QProcess& process, const char* field)
{
    QFile file(QStringLiteral("/proc/%1/status").arg(process.processId()));
    file.open(QIODevice::ReadOnly);
    const QByteArray status = file.readAll();
    return status.mid(status.indexOf(field) + static_cast<qsizetype>(qstrlen(field)))
        .simplified()
        .split(' ')
        .value(0)
        .toLongLong();
}

/// How many clients got no connection, which would make a test of nothing.
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

QByteArray Claim(quint32 length)
{
    QByteArray bytes;
    QDataStream(&bytes, QIODevice::WriteOnly) << length;
    return bytes;
}

/// As much as the other side takes of 4 GiB, in MiB, until it ends the connection or takes no more.
int Flood(QLocalSocket& socket)
{
    const QByteArray piece(qsizetype{1024} * 1024, 'x');
    int written = 0;
    while (written < 4096 && socket.state() == QLocalSocket::ConnectedState) {
        socket.write(piece);
        if (!socket.waitForBytesWritten(3000)) {
            break;
        }
        ++written;
    }
    return written - static_cast<int>(socket.bytesToWrite() >> 20);
}

/// Floods, then 500 clients that stay, some with great claims, the others silent; an honest text must come
/// through.
bool Hostile(int round)
{
    const QString appId = QStringLiteral("hostile%1").arg(round);
    const QString name = SocketName(appId);
    Peer first(appId, "x");
    first.write("\n");
    if (!first.Says("first")) {
        return false;
    }
    const long long before = MemoryOf(first, "VmRSS:");
    const int taken = Flood(*Client(name, Claim(16 * 1024 * 1024)));
    const int takenFromLiar = Flood(*Client(name, Claim(0xffffffff)));
    std::vector<std::unique_ptr<QLocalSocket>> crowd;
    crowd.reserve(500);
    for (int i = 0; i < 500; ++i) {
        crowd.push_back(Client(name, i < 16       ? Claim(16 * 1024 * 1024) + "x"
                                     : i % 2 == 0 ? QByteArray()
                                                  : QByteArray("\0\0", 2)));
    }
    QElapsedTimer timer;
    timer.start();
    Peer honest(appId, "honest");
    honest.write("\n");
    const bool heard = first.Says("received honest") && honest.Says("sent");
    const long long peak = MemoryOf(first, "VmHWM:");
    std::printf("hostile %d: honest text %s after %lld ms behind 500 clients that stay, %d and %d MiB of two "
                "floods of "
                "4 GiB taken, memory %lld MiB at the beginning, %lld MiB at most\n",
                round, heard ? "arrived" : "did not arrive", static_cast<long long>(timer.elapsed()), taken,
                takenFromLiar, before >> 10, peak >> 10);
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
    // Three pipes a child and a socket a client.
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
        good = (what == "hostile" ? Hostile(round) : Storm(round, size, what == "kill")) && good;
        static_cast<void>(std::fflush(stdout));
    }
    std::puts(good ? "passed" : "FAILED");
    return good ? 0 : 1;
}
