/// Measures the time to send a message to the primary instance in another process.

#include <common/singleapp/qtlocalpeer.h>

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>

namespace bench
{

namespace
{

const QString appId = QStringLiteral("bench single application");
const QString bareName = QStringLiteral("bench-bare-socket");

/// Runs the receiving process: the primary instance of the application, and a bare server that echoes its
/// input.
int RunServer(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QtLocalPeer peer(&application, appId);
    QLocalServer bare;
    QObject::connect(&bare, &QLocalServer::newConnection, &bare, [&bare] {
        QLocalSocket* const socket = bare.nextPendingConnection();
        QObject::connect(socket, &QLocalSocket::readyRead, socket,
                         [socket] { socket->write(socket->readAll()); });
        QObject::connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    });
    if (peer.isSecondary() || !bare.listen(bareName)) {
        return 1;
    }
    if (std::puts("listening") < 0 || std::fflush(stdout) != 0) {
        return 1;
    }
    return QCoreApplication::exec();
}

void HandOver(benchmark::State& state)
{
    const QString text = QStringLiteral("--callto tel:+74951234567");
    for (auto _ : state) {
        QtLocalPeer peer(nullptr, appId);
        if (!peer.sendMessage(text, 5000)) {
            state.SkipWithError("the message was not acknowledged");
            return;
        }
    }
}
BENCHMARK(HandOver)
    ->Name("message to the primary instance/vxcommon")
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();

void BareSocket(benchmark::State& state)
{
    for (auto _ : state) {
        QLocalSocket socket;
        socket.connectToServer(bareName);
        if (!socket.waitForConnected(5000) || socket.write("ack") != 3 || !socket.waitForReadyRead(5000)) {
            state.SkipWithError("no reply");
            return;
        }
    }
}
BENCHMARK(BareSocket)
    ->Name("message to the primary instance/bare local socket")
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();

} // namespace

} // namespace bench

int main(int argc, char** argv)
{
    if (argc == 2 && qstrcmp(argv[1], "serve") == 0) {
        return bench::RunServer(argc, argv);
    }
    const QTemporaryDir dir;
    qputenv("TMPDIR", QFile::encodeName(dir.path()));
    QCoreApplication application(argc, argv);
    QProcess server;
    server.start(QCoreApplication::applicationFilePath(), {QStringLiteral("serve")});
    if (!server.waitForReadyRead(10000)) {
        qCritical("the other process does not start");
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    server.kill();
    server.waitForFinished();
    return 0;
}
