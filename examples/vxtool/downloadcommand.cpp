#include "command.h"
#include "httpoptions.h"
#include "interrupt.h"
#include "output.h"
#include "progressbar.h"

#include <common/http/ifiledownload.h>

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QNetworkAccessManager>

#include <limits>
#include <memory>

namespace vxtool
{

namespace
{

const QString commandName = QStringLiteral("download");
const QString sizeOption = QStringLiteral("size");
const QString md5Option = QStringLiteral("md5");
const QString attemptsOption = QStringLiteral("attempts");
const QString timeoutOption = QStringLiteral("timeout");

void AddOptions(QCommandLineParser& parser)
{
    parser.addOption({sizeOption, QStringLiteral("Size that the file must have."), QStringLiteral("BYTES")});
    parser.addOption({md5Option, QStringLiteral("MD5 sum that the file must have."), QStringLiteral("HEX")});
    parser.addOption({attemptsOption, QStringLiteral("Tries in all, 5 seconds apart; 1 if not given."),
                      QStringLiteral("N")});
    parser.addOption({timeoutOption,
                      QStringLiteral("Seconds of silence after which a try fails; 30 if not given."),
                      QStringLiteral("S")});
}

int RunDownload(common::http::IFileDownload& download)
{
    using common::http::IFileDownload;
    ProgressBar bar;
    QElapsedTimer time;
    time.start();
    QEventLoop loop;
    QString complaint;
    QObject::connect(&download, &IFileDownload::progress, &loop,
                     [&bar](qint64 received, qint64 total) { bar.Update(received, total); });
    QObject::connect(&download, &IFileDownload::complete, &loop, &QEventLoop::quit);
    QObject::connect(&download, &IFileDownload::failed, &loop, [&](int error, const QString& text) {
        complaint = QStringLiteral("error %1: %2").arg(error).arg(text);
        loop.quit();
    });
    OnInterrupt([&] {
        download.Abort();
        complaint = QStringLiteral("interrupted");
        loop.quit();
    });
    if (download.Start()) {
        loop.exec();
    }
    bar.Finish();
    if (!complaint.isEmpty()) {
        PrintError(QStringLiteral("vxtool download: ") + complaint);
        return SomeFailed;
    }
    PrintLine(QStringLiteral("%1: %2 in %3 s")
                  .arg(download.GetFilePath(), SizeText(QFileInfo(download.GetFilePath()).size()))
                  .arg(static_cast<double>(time.elapsed()) / 1000, 0, 'f', 2));
    return AllValid;
}

int Download(const QCommandLineParser& parser)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2) {
        return FailUsage(QStringLiteral("a URL and a file are needed"), commandName);
    }
    qint64 size = -1;
    qint64 attempts = 1;
    qint64 timeout = 30;
    constexpr qint64 mostInt = std::numeric_limits<int>::max();
    const QString problems[] = {ReadNumber(parser, sizeOption, 0, std::numeric_limits<qint64>::max(), size),
                                ReadNumber(parser, attemptsOption, 1, mostInt, attempts),
                                ReadNumber(parser, timeoutOption, 0, mostInt, timeout)};
    for (const QString& problem : problems) {
        if (!problem.isEmpty()) {
            return FailUsage(problem, commandName);
        }
    }
    QNetworkAccessManager manager;
    const std::unique_ptr<common::http::IFileDownload> download(
        common::http::CreateFileDownload(&manager, nullptr));
    download->SetUrl(QUrl(arguments.at(0), QUrl::TolerantMode));
    download->SetFilePath(arguments.at(1));
    download->SetFileSize(size);
    download->SetChecksum(parser.value(md5Option));
    download->SetAttemptCount(static_cast<int>(attempts));
    download->SetTimeout(static_cast<int>(timeout));
    return RunDownload(*download);
}

const CommandRegistration registration{
    {commandName, QStringLiteral("URL FILE"),
     QStringLiteral("Download a file, check its size and MD5 sum, and try again if it fails."), AddOptions,
     Download},
};

} // namespace

} // namespace vxtool
