// What scripts/stress.sh runs: many processes at once, a first process that dies, and clients that misbehave.
//   single_app_stress storm|kill|hostile ROUNDS [PROCESSES]
// Prints one line for each round and ends with 1 if any went wrong. Starts itself as the other processes.

#include <common/singleapp/qtlocalpeer.h>

#include <QCoreApplication>
#include <QDataStream>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLocalSocket>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

#include <sys/resource.h>

namespace
{

// Two hundred processes on few cores start slowly; how long one takes is not what is tested here.
constexpr int handOverTimeout = 60000;

constexpr int maxTries = 10;

// How much memory, in KiB, the clients of one process may take together. A sanitizer keeps what was freed.
#ifdef SANITIZED
constexpr long long maxGrowth = 1024LL * 1024;
#else
constexpr long long maxGrowth = 128LL * 1024;
#endif

void Say(const QByteArray& line)
{
    std::puts(line.constData());
    std::fflush(stdout);
}

/// One of the many: waits for the starting shot, then hands over its text or is the first, which goes on
/// until it is killed. A first process that dies may close its socket a moment before its lock is free.
int RunPeer(const QString& appId, const QString& text)
{
    QtLocalPeer peer(nullptr, appId);
    QObject::connect(&peer, &QtLocalPeer::messageReceived, &peer,
                     [](const QString& message) { Say("received " + message.toUtf8()); });
    Say("ready");
    std::getchar();
    for (int tries = 0; peer.isSecondary(); ++tries) {
        if (tries == maxTries) {
            Say("failed");
            return 0;
        }
        if (peer.sendMessage(text, handOverTimeout)) {
            Say("sent");
            return 0;
        }
    }
    Say("first");
    return QCoreApplication::exec();
}

/// All processes of one round and what they said.
class Crowd
{
public:
    Crowd(const QString& appId, int size)
    {
        for (int i = 0; i < size; ++i) {
            auto process = std::make_unique<QProcess>();
            process->start(QCoreApplication::applicationFilePath(), {"peer", appId, QString::number(i)});
            processes.push_back(std::move(process));
            said.emplace_back();
        }
    }

    ~Crowd()
    {
        for (const auto& process : processes) {
            process->kill();
            process->waitForFinished();
        }
    }

    bool WaitUntilReady()
    {
        return WaitFor([this] { return Count("ready") == Size(); });
    }

    void Shoot()
    {
        for (const auto& process : processes) {
            process->write("\n");
        }
    }

    /// Runs the event loop until `condition` holds, two minutes at most.
    bool WaitFor(const std::function<bool()>& condition)
    {
        return QTest::qWaitFor(
            [&] {
                Read();
                return condition();
            },
            120000);
    }

    int Size() const { return static_cast<int>(processes.size()); }

    int Count(const QByteArray& line) const
    {
        qsizetype count = 0;
        for (const QByteArrayList& lines : said) {
            count += lines.count(line);
        }
        return static_cast<int>(count);
    }

    /// The index of the process that said `line` and was not killed; -1 if none did.
    int WhoSaid(const QByteArray& line) const
    {
        for (int i = 0; i < Size(); ++i) {
            if (i != killed && Lines(i).contains(line)) {
                return i;
            }
        }
        return -1;
    }

    const QByteArrayList& Lines(int index) const { return said.at(static_cast<std::size_t>(index)); }

    void Kill(int index)
    {
        processes.at(static_cast<std::size_t>(index))->kill();
        killed = index;
    }

    /// All texts that any process received.
    QByteArrayList Received() const
    {
        QByteArrayList texts;
        for (const QByteArrayList& lines : said) {
            for (const QByteArray& line : lines) {
                if (line.startsWith("received ")) {
                    texts += line.mid(9);
                }
            }
        }
        return texts;
    }

private:
    void Read()
    {
        for (std::size_t i = 0; i < processes.size(); ++i) {
            while (processes[i]->canReadLine()) {
                said[i] += processes[i]->readLine().trimmed();
            }
        }
    }

    std::vector<std::unique_ptr<QProcess>> processes;
    std::vector<QByteArrayList> said;
    int killed = -1;
};

/// What the dead one had received but not answered comes again, to another process; within one nothing does.
bool HasNoDoubles(const QByteArrayList& texts)
{
    return QSet<QByteArray>(texts.cbegin(), texts.cend()).size() == texts.size();
}

/// All start at once: one is first and gets the text of each other exactly once.
bool Storm(int round, int size)
{
    Crowd crowd(QStringLiteral("storm%1").arg(round), size);
    if (!crowd.WaitUntilReady()) {
        Say("the processes do not start");
        return false;
    }
    QElapsedTimer timer;
    timer.start();
    crowd.Shoot();
    crowd.WaitFor([&] {
        return crowd.Count("first") + crowd.Count("sent") + crowd.Count("failed") == size &&
               crowd.Received().size() >= crowd.Count("sent");
    });
    const QByteArrayList received = crowd.Received();
    std::printf("storm %d: %d processes, %d first, %d handed over, %d failed, %d texts arrived, %lld ms\n",
                round, size, crowd.Count("first"), crowd.Count("sent"), crowd.Count("failed"),
                static_cast<int>(received.size()), static_cast<long long>(timer.elapsed()));
    return crowd.Count("first") == 1 && crowd.Count("sent") == size - 1 && received.size() == size - 1 &&
           HasNoDoubles(received);
}

/// The first is killed while others are at work: one takes its place, and no text comes twice.
bool KillInStorm(int round, int size)
{
    Crowd crowd(QStringLiteral("kill%1").arg(round), size);
    if (!crowd.WaitUntilReady()) {
        Say("the processes do not start");
        return false;
    }
    crowd.Shoot();
    // Sooner or later from round to round, in the midst of the hand-overs.
    const int moment = 1 + size * round / 20;
    crowd.WaitFor([&] { return crowd.Received().size() >= moment; });
    const int victim = crowd.WhoSaid("first");
    if (victim < 0) {
        Say("nobody was first");
        return false;
    }
    crowd.Kill(victim);
    crowd.WaitFor([&] {
        return crowd.Count("first") + crowd.Count("sent") + crowd.Count("failed") >= size &&
               crowd.WhoSaid("first") >= 0;
    });
    // The successor must hear a newcomer.
    const int successor = crowd.WhoSaid("first");
    QProcess newcomer;
    newcomer.start(QCoreApplication::applicationFilePath(),
                   {"peer", QStringLiteral("kill%1").arg(round), "newcomer"});
    newcomer.write("\n");
    const bool heard =
        successor >= 0 && crowd.WaitFor([&] { return crowd.Lines(successor).contains("received newcomer"); });
    newcomer.waitForFinished();
    const int successors = crowd.Count("first") - 1;
    std::printf(
        "kill %d: first killed after %d texts, %d successor, %d handed over, %d failed, newcomer %s\n", round,
        moment, successors, crowd.Count("sent"), crowd.Count("failed"), heard ? "heard" : "not heard");
    return successors == 1 && heard && crowd.Count("failed") == 0 && HasNoDoubles(crowd.Lines(successor));
}

/// Resident memory of a process in KiB, now and at its highest.
long long MemoryOf(qint64 pid, const char* field)
{
    QFile file(QStringLiteral("/proc/%1/status").arg(pid));
    if (file.open(QIODevice::ReadOnly)) {
        const QList<QByteArray> lines = file.readAll().split('\n');
        for (const QByteArray& line : lines) {
            if (line.startsWith(field)) {
                return line.mid(qstrlen(field)).simplified().split(' ').first().toLongLong();
            }
        }
    }
    return -1;
}

QStringList Sockets()
{
    return QDir::temp().entryList({"qtsingleapp-*"}, QDir::System);
}

/// The socket that was not there before.
QString NewSocket(const QStringList& before)
{
    QStringList sockets = Sockets();
    for (const QString& name : before) {
        sockets.removeOne(name);
    }
    return sockets.value(0);
}

/// How many clients got no connection, which would make a test of nothing.
int refusedClients = 0;

std::unique_ptr<QLocalSocket> Client(const QString& name, const QByteArray& bytes)
{
    auto socket = std::make_unique<QLocalSocket>();
    socket->connectToServer(name);
    if (!socket->waitForConnected(10000)) {
        ++refusedClients;
    } else if (!bytes.isEmpty()) {
        socket->write(bytes);
        socket->waitForBytesWritten(10000);
    }
    return socket;
}

QByteArray Claim(quint32 length)
{
    QByteArray bytes;
    QDataStream(&bytes, QIODevice::WriteOnly) << length;
    return bytes;
}

/// As much as the other side takes of 4 GiB, until it ends the connection or takes no more.
qint64 Flood(QLocalSocket& socket)
{
    constexpr qint64 all = Q_INT64_C(4) * 1024 * 1024 * 1024;
    const QByteArray piece(1024 * 1024, 'x');
    qint64 written = 0;
    while (written < all && socket.state() == QLocalSocket::ConnectedState) {
        socket.write(piece);
        if (!socket.waitForBytesWritten(3000)) {
            break;
        }
        written += piece.size();
    }
    return std::max<qint64>(written - socket.bytesToWrite(), 0);
}

/// All kinds of clients one after another and 500 silent ones that stay; honest texts must come through.
bool Hostile(int round)
{
    const QString appId = QStringLiteral("hostile%1").arg(round);
    const QStringList socketsBefore = Sockets();
    QProcess first;
    first.setProcessChannelMode(QProcess::SeparateChannels);
    first.start(QCoreApplication::applicationFilePath(), {"peer", appId, "x"});
    first.write("\n");
    QByteArrayList lines;
    const auto said = [&](const QByteArray& line) {
        return QTest::qWaitFor(
            [&] {
                while (first.canReadLine()) {
                    lines += first.readLine().trimmed();
                }
                return lines.contains(line);
            },
            60000);
    };
    if (!said("first")) {
        return false;
    }
    const QString name = NewSocket(socketsBefore);
    const long long before = MemoryOf(first.processId(), "VmRSS:");

    const QByteArray message = Claim(5) + "hello";
    for (int size = 0; size <= message.size(); ++size) {
        Client(name, message.left(size));
    }
    Client(name, Claim(0xffffffff) + "x");
    const auto flooded = Client(name, Claim(16 * 1024 * 1024));
    const qint64 taken = Flood(*flooded);
    const auto liar = Client(name, Claim(0xffffffff));
    const qint64 takenFromLiar = Flood(*liar);

    std::vector<std::unique_ptr<QLocalSocket>> crowd;
    for (int i = 0; i < 500; ++i) {
        crowd.push_back(Client(name, i % 2 == 0 ? QByteArray() : QByteArray("\0\0", 2)));
    }
    QElapsedTimer timer;
    timer.start();
    QProcess honest;
    honest.start(QCoreApplication::applicationFilePath(), {"peer", appId, "honest"});
    honest.write("\n");
    const bool heard = said("received honest");
    const bool told = QTest::qWaitFor([&] { return honest.readAllStandardOutput().contains("sent"); }, 10000);
    const long long peak = MemoryOf(first.processId(), "VmHWM:");
    std::printf(
        "hostile %d: honest text %s after %lld ms behind 500 silent clients, %lld and %lld MiB of two "
        "floods of 4 GiB taken, memory %lld MiB at the beginning, %lld MiB at most\n",
        round, heard && told ? "arrived" : "did not arrive", static_cast<long long>(timer.elapsed()),
        static_cast<long long>(taken >> 20), static_cast<long long>(takenFromLiar >> 20), before >> 10,
        peak >> 10);
    const bool alive = first.state() == QProcess::Running;
    first.kill();
    first.waitForFinished();
    honest.waitForFinished();
    return heard && told && alive && refusedClients == 0 && peak - before < maxGrowth;
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

    const QTemporaryDir dir;
    qputenv("TMPDIR", QFile::encodeName(dir.path()));
    const QString what = arguments.value(1);
    const int rounds = arguments.value(2).toInt();
    const int size = arguments.size() > 3 ? arguments.at(3).toInt() : 200;
    bool good = rounds > 0;
    for (int round = 1; round <= rounds; ++round) {
        const bool passed = what == "storm"     ? Storm(round, size)
                            : what == "kill"    ? KillInStorm(round, size)
                            : what == "hostile" ? Hostile(round)
                                                : false;
        std::fflush(stdout);
        good = good && passed;
    }
    std::puts(good ? "passed" : "FAILED");
    return good ? 0 : 1;
}
