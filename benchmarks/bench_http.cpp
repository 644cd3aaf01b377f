/// Compares the library with curl and Qt's own classes in downloads and small requests, served by nginx on
/// the loopback interface. The program calls a script that starts the server and then runs the program
/// again.

#include <common/http/ifiledownload.h>
#include <common/http/ihttprequest.h>
#include <common/tools/stringconverter.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

namespace bench
{

namespace
{

using common::http::IFileDownload;
using common::http::IHttpRequest;

constexpr qint64 fileSize = 1000000000;
constexpr int requestCount = 5000;
constexpr int inFlight = 6; // Qt opens at most six connections to a host.

QUrl Url(const QString& path)
{
    return QUrl(
        QStringLiteral("http://127.0.0.1:%1/%2").arg(qEnvironmentVariableIntValue("SERVER_HTTP")).arg(path));
}

QString ServedFile(const QString& name)
{
    return qEnvironmentVariable("SERVER_ROOT") + u'/' + name;
}

/// Returns the MD5 sum of the file to download. The first call creates the file.
QString ServedSum()
{
    static const QString sum = [] {
        QFile file(ServedFile(QStringLiteral("benchmark.bin")));
        if (!file.open(QIODevice::ReadWrite) || !file.resize(fileSize)) {
            return QString();
        }
        const uchar* const content = file.map(0, fileSize);
        return tools::string::converter::ToMD5(
            QByteArray::fromRawData(reinterpret_cast<const char*>(content), fileSize));
    }();
    return sum;
}

constexpr double kibOfMib = 1024;

/// Resets the peak memory of this process for the next PeakMib.
void ResetPeak()
{
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    if (file.open(QIODevice::WriteOnly)) {
        file.write("5");
    }
}

/// Returns the peak memory of a process since it started, or since ResetPeak.
double PeakMib(qint64 process)
{
    QFile file(QStringLiteral("/proc/%1/status").arg(process));
    if (file.open(QIODevice::ReadOnly)) {
        const QList<QByteArray> lines = file.readAll().split('\n');
        for (const QByteArray& line : lines) {
            if (line.startsWith("VmHWM:")) {
                return line.simplified().split(' ').value(1).toDouble() / kibOfMib;
            }
        }
    }
    return 0;
}

/// Measures the longest time for which the event loop is blocked, with a timer that fires every millisecond.
class StallMeter
{
public:
    StallMeter()
    {
        since.start();
        QObject::connect(&timer, &QTimer::timeout, &timer, [this] {
            longest = std::max(longest, since.nsecsElapsed());
            since.start();
        });
        timer.setTimerType(Qt::PreciseTimer);
        timer.start(1);
    }

    double LongestMs() const { return static_cast<double>(longest) / 1e6; }

private:
    QTimer timer;
    QElapsedTimer since;
    qint64 longest = 0;
};

/// Runs a program until it exits, and samples its memory use every 20 ms.
QByteArray OutputOf(const QString& program, const QStringList& arguments, double& peak)
{
    constexpr int interval = 20;
    QProcess process;
    process.start(program, arguments);
    while (process.state() != QProcess::NotRunning && !process.waitForFinished(interval)) {
        peak = std::max(peak, PeakMib(process.processId()));
    }
    return process.readAll();
}

void DownloadByLibrary(benchmark::State& state)
{
    const QString sum = ServedSum();
    const QTemporaryDir dir;
    QNetworkAccessManager manager;
    for ([[maybe_unused]] const auto iteration : state) {
        const std::unique_ptr<IFileDownload> download(common::http::CreateFileDownload(&manager, nullptr));
        download->SetUrl(Url(QStringLiteral("benchmark.bin")));
        download->SetFilePath(dir.filePath(QStringLiteral("file")));
        download->SetFileSize(fileSize);
        download->SetChecksum(sum);
        ResetPeak();
        QEventLoop loop;
        QObject::connect(download.get(), &IFileDownload::complete, &loop, &QEventLoop::quit);
        QObject::connect(download.get(), &IFileDownload::failed, &loop, [&](int, const QString& text) {
            state.SkipWithError(qPrintable(text));
            loop.quit();
        });
        const StallMeter meter;
        download->Start();
        loop.exec();
        state.PauseTiming();
        state.counters["stall_ms"] = meter.LongestMs();
        state.counters["peak_mib"] = PeakMib(QCoreApplication::applicationPid());
        QFile::remove(dir.filePath(QStringLiteral("file")));
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * fileSize);
}

void DownloadByCurl(benchmark::State& state)
{
    const QString sum = ServedSum();
    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("file"));
    for ([[maybe_unused]] const auto iteration : state) {
        double peak = 0;
        OutputOf(QStringLiteral("curl"),
                 {QStringLiteral("-s"), QStringLiteral("-o"), path,
                  Url(QStringLiteral("benchmark.bin")).toString()},
                 peak);
        if (!OutputOf(QStringLiteral("md5sum"), {path}, peak).startsWith(sum.toLatin1())) {
            state.SkipWithError("curl and md5sum found another file");
        }
        state.PauseTiming();
        state.counters["peak_mib"] = peak;
        QFile::remove(path);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * fileSize);
}

/// Keeps six of the library's requests in flight by sending each again as soon as it ends.
void SmallByLibrary(benchmark::State& state)
{
    QNetworkAccessManager manager;
    for ([[maybe_unused]] const auto iteration : state) {
        int sent = 0;
        int ended = 0;
        QEventLoop loop;
        std::vector<std::unique_ptr<IHttpRequest>> requests;
        for (int i = 0; i < inFlight; ++i) {
            auto& request = requests.emplace_back(common::http::CreateHttpRequest(&manager, nullptr));
            request->SetUrl(Url(QStringLiteral("large.md5")));
            request->SetTimeout(30);
            QObject::connect(request.get(), &IHttpRequest::requestFinished, &loop,
                             [&, one = request.get()](const QString& body) {
                                 benchmark::DoNotOptimize(body.size());
                                 if (++ended == requestCount) {
                                     loop.quit();
                                 } else if (sent < requestCount) {
                                     ++sent;
                                     one->Get();
                                 }
                             });
            QObject::connect(request.get(), &IHttpRequest::requestError, &loop,
                             [&](int, const QString& text) {
                                 state.SkipWithError(qPrintable(text));
                                 loop.quit();
                             });
            ++sent;
            request->Get();
        }
        loop.exec();
    }
    state.SetItemsProcessed(state.iterations() * requestCount);
}

/// Does the same with a QNetworkAccessManager alone, and sets the header that the library would add.
void SmallByQt(benchmark::State& state)
{
    QNetworkAccessManager manager;
    for ([[maybe_unused]] const auto iteration : state) {
        int sent = 0;
        int ended = 0;
        QEventLoop loop;
        const std::function<void()> send = [&] {
            ++sent;
            QNetworkRequest request(Url(QStringLiteral("large.md5")));
            request.setRawHeader("Accept-Encoding", "gzip");
            QNetworkReply* const reply = manager.get(request);
            QObject::connect(reply, &QNetworkReply::finished, &loop, [&, reply] {
                if (reply->error() != QNetworkReply::NoError) {
                    state.SkipWithError(qPrintable(reply->errorString()));
                    loop.quit();
                }
                benchmark::DoNotOptimize(QString::fromUtf8(reply->readAll()).size());
                reply->deleteLater();
                if (++ended == requestCount) {
                    loop.quit();
                } else if (sent < requestCount) {
                    send();
                }
            });
        };
        for (int i = 0; i < inFlight; ++i) {
            send();
        }
        loop.exec();
    }
    state.SetItemsProcessed(state.iterations() * requestCount);
}

void Configure(benchmark::internal::Benchmark* one)
{
    one->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
}

} // namespace

} // namespace bench

BENCHMARK(bench::DownloadByLibrary)->Name("download of 1 GB/vxcommon")->Apply(bench::Configure);
BENCHMARK(bench::DownloadByCurl)->Name("download of 1 GB/curl and md5sum")->Apply(bench::Configure);
BENCHMARK(bench::SmallByLibrary)->Name("5,000 small GETs/vxcommon")->Apply(bench::Configure);
BENCHMARK(bench::SmallByQt)->Name("5,000 small GETs/QNetworkAccessManager")->Apply(bench::Configure);

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    if (!qEnvironmentVariableIsSet("SERVER_HTTP")) {
        return QProcess::execute(QStringLiteral(WITH_SERVERS), QCoreApplication::arguments());
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
