#include "command.h"
#include "interrupt.h"
#include "output.h"
#include "progressbar.h"

#include <common/http/ifiledownload.h>

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QNetworkAccessManager>

#include <memory>
#include <optional>

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
                      QStringLiteral("N"), QStringLiteral("1")});
    parser.addOption({timeoutOption,
                      QStringLiteral("Seconds of silence after which a try fails; 30 if not given."),
                      QStringLiteral("S"), QStringLiteral("30")});
}

/// The number that an option holds, or nothing if it holds none.
std::optional<qint64> Number(const QCommandLineParser& parser, const QString& option)
{
    bool ok = false;
    const qint64 number = parser.value(option).toLongLong(&ok);
    return ok ? std::optional(number) : std::nullopt;
}

int RunDownload(common::http::IFileDownload& download)
{
    using common::http::IFileDownload;
    ProgressBar bar;
    QElapsedTimer time;
    time.start();
    QEventLoop loop;
    int exitCode = SomeFailed;
    QString complaint;
    QObject::connect(&download, &IFileDownload::progress, &loop,
                     [&bar](qint64 received, qint64 total) { bar.Update(received, total); });
    QObject::connect(&download, &IFileDownload::complete, &loop, [&] {
        exitCode = AllValid;
        loop.quit();
    });
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
    if (complaint.isEmpty()) {
        bar.Finish();
        PrintLine(QStringLiteral("%1: %2 in %3 s")
                      .arg(download.GetFilePath(), SizeText(QFileInfo(download.GetFilePath()).size()))
                      .arg(static_cast<double>(time.elapsed()) / 1000, 0, 'f', 2));
    } else {
        bar.Finish();
        PrintError(QStringLiteral("vxtool download: ") + complaint);
    }
    return exitCode;
}

int Download(const QCommandLineParser& parser)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2) {
        return FailUsage(QStringLiteral("a URL and a file are needed"), commandName);
    }
    for (const QString& option : {sizeOption, attemptsOption, timeoutOption}) {
        if (parser.isSet(option) && !Number(parser, option)) {
            return FailUsage(QStringLiteral("--%1 takes a number").arg(option), commandName);
        }
    }
    QNetworkAccessManager manager;
    const std::unique_ptr<common::http::IFileDownload> download(
        common::http::CreateFileDownload(&manager, nullptr));
    download->SetUrl(QUrl(arguments.at(0), QUrl::TolerantMode));
    download->SetFilePath(arguments.at(1));
    download->SetFileSize(Number(parser, sizeOption).value_or(-1));
    download->SetChecksum(parser.value(md5Option));
    download->SetAttemptCount(static_cast<int>(Number(parser, attemptsOption).value_or(1)));
    download->SetTimeout(static_cast<int>(Number(parser, timeoutOption).value_or(0)));
    return RunDownload(*download);
}

const CommandRegistration registration{
    {commandName, QStringLiteral("URL FILE"),
     QStringLiteral("Download a file, check its size and MD5 sum, and try again if it fails."), AddOptions,
     Download},
};

} // namespace

} // namespace vxtool
