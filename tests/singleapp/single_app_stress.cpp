// Stress test for scripts/stress.sh: starts many processes, kills the primary instance and connects hostile
// clients.
//   single_app_stress storm|kill|hostile ROUNDS [PROCESSES OR CLIENTS]
// Prints one line per round and exits with 1 if any round failed. The child processes run this program, too.

#include "peers.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSet>
#include <QTemporaryFile>

#include <csignal>
#include <cstdio>
#include <functional>
#include <list>
#include <vector>

namespace
{

// Timeout in milliseconds. Generous, because 200 processes on few cores start slowly.
constexpr int patience = 60000;

constexpr int maxAttempts = 10;

// Maximum growth of a primary instance's memory under hostile clients.
constexpr long long maxGrowth = MAX_GROWTH_MIB * 1024LL; // In KiB.

bool WaitFor(const std::function<bool()>& condition)
{
    return QTest::qWaitFor(condition, patience);
}

void Say(const char* what, const QString& text = {})
{
    std::printf("%s %lld %s\n", what, QCoreApplication::applicationPid(), qPrintable(text));
    static_cast<void>(std::fflush(stdout));
}

/// Runs one of the processes: waits for the starting signal, then sends its message or becomes the primary
/// instance, which runs until it is killed. Retries, because a killed primary instance may close its socket
/// shortly before its lock is released.
int RunPeer(const QString& appId, const QString& text)
{
    QtLocalPeer peer(nullptr, appId);
    QObject::connect(&peer, &QtLocalPeer::messageReceived, &peer,
                     [](const QString& message) { Say("received", message.left(50)); });
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

/// Processes that start simultaneously, and their output.
class Crowd
{
public:
    Crowd(const QString& appId, int size)
    {
        output.open();
        for (int i = 0; i < size; ++i) {
            QProcess& peer = peers.emplace_back();
            peer.setStandardOutputFile(output.fileName(), QIODevice::Append);
            peer.start(QCoreApplication::applicationFilePath(), {"peer", appId, QString::number(i)});
        }
        WaitFor([&] { return Count("ready") == size; });
        for (QProcess& peer : peers) {
            peer.write("\n");
        }
    }
    ~Crowd()
    {
        for (QProcess& peer : peers) {
            peer.kill();
            peer.waitForFinished();
        }
    }

    QByteArrayList Lines(const QByteArray& start) const
    {
        QFile file(output.fileName());
        file.open(QIODevice::ReadOnly);
        QByteArrayList lines = file.readAll().split('\n');
        lines.removeIf([&](const QByteArray& line) { return !line.startsWith(start); });
        return lines;
    }
    int Count(const QByteArray& start) const { return static_cast<int>(Lines(start).size()); }
    /// Returns the id of the last primary instance.
    QByteArray First() const { return Lines("first").value(Count("first") - 1).split(' ').value(1); }
    /// Waits until the last primary instance has received a message.
    bool HasHeard(const QByteArray& text) const
    {
        return WaitFor([&] { return Count("received " + First() + ' ' + text) > 0; });
    }

private:
    QTemporaryFile output;
    std::list<QProcess> peers;
};

/// Starts all processes simultaneously. One becomes the primary instance and receives the message of every
/// other process exactly once, at the first attempt. If it is killed, exactly one other process takes its
/// place and receives the remaining messages and that of a newcomer. No process receives a message twice.
bool Storm(int round, int size, bool killFirst)
{
    const QString appId = QStringLiteral("storm%1").arg(round);
    const Crowd crowd(appId, size);
    QElapsedTimer timer;
    timer.start();
    // Kill the primary instance at a different point in each round.
    if (killFirst && WaitFor([&] { return crowd.Count("received") > size * (round % 20) / 20; })) {
        const pid_t first = crowd.First().toInt();
        kill(first, SIGKILL);
        WaitFor([first] { return kill(first, 0) != 0; }); // Until then, it holds its lock.
    }
    const bool allEnded =
        WaitFor([&] { return crowd.Count("first") + crowd.Count("sent") + crowd.Count("failed") == size; });
    QtLocalPeer newcomer(nullptr, appId);
    // If the killed process had received all messages, the newcomer takes its place.
    const bool follows = !newcomer.isSecondary();
    const int firsts = crowd.Count("first") + (follows ? 1 : 0) - (killFirst ? 1 : 0);
    const bool heard = follows || (newcomer.sendMessage("newcomer", patience) && crowd.HasHeard("newcomer"));
    const QByteArrayList lines = crowd.Lines("received");
    const bool twice = QSet<QByteArray>(lines.begin(), lines.end()).size() != lines.size();
    const int texts = crowd.Count("received " + crowd.First() + ' ');
    std::printf("%s %d: %d first, %d sent, %d of them not at the first attempt, %d failed, "
                "%d messages arrived at the last first%s, newcomer %s, %lld ms\n",
                killFirst ? "kill" : "storm", round, firsts, crowd.Count("sent"), crowd.Count("again"),
                crowd.Count("failed"), texts, twice ? ", some twice" : "", heard ? "heard" : "not heard",
                static_cast<long long>(timer.elapsed()));
    return allEnded && heard && !twice && firsts == 1 && crowd.Count("failed") == 0 &&
           (killFirst || (texts == size && crowd.Count("again") == 0));
}

/// Returns the peak resident memory of a process, in KiB.
long long PeakMemory(const QByteArray& id)
{
    QFile file("/proc/" + id + "/status");
    file.open(QIODevice::ReadOnly);
    const QByteArray status = file.readAll();
    return status.mid(status.indexOf("VmHWM:")).simplified().split(' ').value(1).toLongLong();
}

/// Sends up to 4 GiB, until the server disconnects or stops reading.
void Flood(QLocalSocket& socket)
{
    const QByteArray piece(qsizetype{1024} * 1024, 'x');
    for (int i = 0; i < 4096 && socket.write(piece) > 0; ++i) {
        if (!socket.waitForBytesWritten(3000)) {
            return;
        }
    }
}

/// Floods the primary instance, then connects clients that stay connected. Some of them announce long
/// messages; the others send at most two bytes. A valid message must still arrive.
bool Hostile(int round, int clients)
{
    const QString appId = QStringLiteral("hostile%1").arg(round);
    const QString name = SocketName(appId);
    const Crowd crowd(appId, 1);
    if (!WaitFor([&] { return crowd.Count("first") == 1; })) {
        return false;
    }
    const QByteArray first = crowd.First();
    const long long before = PeakMemory(first);
    const QByteArray greatClaim = OnTheWire("x", 16 * 1024 * 1024);
    Flood(*ConnectTo(name, greatClaim));
    Flood(*ConnectTo(name, OnTheWire("x", 0xffffffff)));
    std::vector<std::unique_ptr<QLocalSocket>> sockets;
    sockets.reserve(static_cast<std::size_t>(clients));
    for (int i = 0; i < clients; ++i) {
        sockets.push_back(ConnectTo(name, i < 16 ? greatClaim : QByteArray(i % 2 == 0 ? 0 : 2, '\0')));
    }
    QElapsedTimer timer;
    timer.start();
    const bool heard =
        QtLocalPeer(nullptr, appId).sendMessage("honest", patience) && crowd.HasHeard("honest");
    const long long peak = PeakMemory(first);
    std::printf("hostile %d: honest message %s after %lld ms behind %d clients that stay, "
                "memory %lld MiB at the beginning, %lld MiB at most\n",
                round, heard ? "arrived" : "did not arrive", static_cast<long long>(timer.elapsed()), clients,
                before >> 10, peak >> 10);
    return heard && before > 0 && peak - before < maxGrowth;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 4 && arguments.at(1) == "peer") {
        return RunPeer(arguments.at(2), arguments.at(3));
    }
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
