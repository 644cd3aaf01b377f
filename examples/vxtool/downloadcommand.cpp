#include "command.h"
#include "httpoptions.h"
#include "interrupt.h"
#include "output.h"
#include "progressbar.h"

#include <common/http/ifiledownload.h>

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QNetworkAccessManager>

#include <filesystem>
#include <limits>
#include <memory>
#include <system_error>
#include <utility>

namespace vxtool
{

namespace
{

const QString commandName = QStringLiteral("download");
const QString sizeOption = QStringLiteral("size");
const QString md5Option = QStringLiteral("md5");
const QString attemptsOption = QStringLiteral("attempts");
const QString timeoutOption = QStringLiteral("timeout");
const QString keepPartialOption = QStringLiteral("keep-partial");

void AddOptions(QCommandLineParser& parser)
{
    parser.addOption({sizeOption, QStringLiteral("Size that the file must have."), QStringLiteral("BYTES")});
    parser.addOption({md5Option, QStringLiteral("MD5 sum that the file must have."), QStringLiteral("HEX")});
    parser.addOption({attemptsOption,
                      QStringLiteral("Maximum number of attempts, 5 seconds apart (default: 1)."),
                      QStringLiteral("N")});
    parser.addOption({timeoutOption,
                      QStringLiteral("Seconds of silence after which an attempt fails (default: 30)."),
                      QStringLiteral("S")});
    parser.addOption({keepPartialOption, QStringLiteral("Keep FILE.part if the download fails.")});
}

/// Returns why the download failed, or an empty string.
QString RunDownload(common::http::IFileDownload& download)
{
    using common::http::IFileDownload;
    ProgressBar bar;
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
    return complaint;
}

/// Replaces `to` by `from`; returns why that failed, or an empty string.
QString Rename(const QString& from, const QString& to)
{
    std::error_code error;
    std::filesystem::rename(from.toStdU16String(), to.toStdU16String(), error);
    return error ? QStringLiteral("cannot rename %1 to %2: %3")
                       .arg(from, to, QString::fromLocal8Bit(error.message().c_str()))
                 : QString();
}

/// Downloads into FILE.part first, so that a failure leaves an existing FILE as it is.
int DownloadTo(const QString& path, std::unique_ptr<common::http::IFileDownload> download, bool keepsPartial)
{
    const QFileInfo info(path);
    if (info.exists() && !info.isFile()) {
        PrintError(QStringLiteral("vxtool download: %1 is not a regular file").arg(path));
        return SomeFailed;
    }
    // A link stays one: what it leads to is replaced.
    const QString target = info.exists() ? info.canonicalFilePath() : path;
    const QString part = target + QStringLiteral(".part");
    download->SetFilePath(part);
    QElapsedTimer time;
    time.start();
    QString complaint = RunDownload(*download);
    download.reset(); // Closes the file.
    if (complaint.isEmpty()) {
        complaint = Rename(part, target);
    }
    if (!complaint.isEmpty()) {
        if (!keepsPartial) {
            QFile::remove(part);
        }
        PrintError(QStringLiteral("vxtool download: ") + complaint);
        return SomeFailed;
    }
    PrintLine(QStringLiteral("%1: %2 in %3 s")
                  .arg(path, SizeText(QFileInfo(path).size()))
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
    std::unique_ptr<common::http::IFileDownload> download(
        common::http::CreateFileDownload(&manager, nullptr));
    download->SetUrl(QUrl(arguments.at(0), QUrl::TolerantMode));
    download->SetFileSize(size);
    download->SetChecksum(parser.value(md5Option));
    download->SetAttemptCount(static_cast<int>(attempts));
    download->SetTimeout(static_cast<int>(timeout));
    return DownloadTo(arguments.at(1), std::move(download), parser.isSet(keepPartialOption));
}

const CommandRegistration registration{
    {commandName, QStringLiteral("URL FILE"),
     QStringLiteral("Download a file, check its size and MD5 sum, and retry if it fails."), AddOptions,
     Download},
};

} // namespace

} // namespace vxtool
