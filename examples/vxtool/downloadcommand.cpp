#include "command.h"
#include "httpoptions.h"
#include "input.h"
#include "output.h"
#include "platform.h"
#include "progressbar.h"

#include <common/http/ifiledownload.h>

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <filesystem>
#include <limits>
#include <memory>
#include <system_error>
#include <utility>

namespace vxtool
{

namespace
{

using common::http::IFileDownload;

const Option sizeOption{u"size"_s, u"Expected size of the file."_s, u"BYTES"_s};
const Option md5Option{u"md5"_s, u"Expected MD5 sum of the file."_s, u"HEX"_s};
const Option attemptsOption{u"attempts"_s, u"Maximum number of attempts, 5 seconds apart (default: 1)."_s,
                            u"N"_s};
const Option timeoutOption{u"timeout"_s, u"Seconds of silence after which an attempt fails (default: 30)."_s,
                           u"S"_s};

const Option keepPartialOption{u"keep-partial"_s, u"Keep FILE.part if the download fails."_s};

/// Starts the download and waits until it has ended. If it fails, prints an error and returns false.
bool RunDownload(IFileDownload& download, const StatusKeeper& manager)
{
    ProgressBar bar;
    QEventLoop loop;
    QString complaint;
    QObject::connect(&download, &IFileDownload::progress, &loop,
                     [&bar](qint64 received, qint64 total) { bar.Update(received, total); });
    QObject::connect(&download, &IFileDownload::complete, &loop, &QEventLoop::quit);
    QObject::connect(&download, &IFileDownload::failed, &loop, [&](int error, const QString& text) {
        constexpr int firstOwnError = 900100;
        const QString cause = TakeLibraryError();
        const bool isOwn = error >= firstOwnError && !cause.isEmpty();
        complaint = manager.ErrorText(download.GetUrl(), error, isOwn ? text + u' ' + cause : text);
        loop.quit();
    });
    platform::OnInterrupt([&] {
        download.Abort();
        complaint = u"interrupted"_s;
        loop.quit();
    });
    if (download.Start()) {
        loop.exec();
    }
    bar.Finish();
    return complaint.isEmpty() || Complain(complaint);
}

bool Rename(const QString& from, const QString& to)
{
    std::error_code error;
    std::filesystem::rename(from.toStdU16String(), to.toStdU16String(), error);
    return !error || Complain(u"cannot rename %1 to %2: %3"_s.arg(
                         from, to, QString::fromLocal8Bit(error.message().c_str())));
}

/// Downloads into FILE.part first, so that a failure leaves an existing FILE unchanged.
int RunToFile(const QCommandLineParser& parser, const QString& path, std::unique_ptr<IFileDownload> download,
              const StatusKeeper& manager)
{
    const QFileInfo info(path);
    if (info.fileName().isEmpty()) {
        return FailUsage(u"\"%1\" names no file"_s.arg(path));
    }
    if (info.exists() && !info.isFile()) {
        return Fail(u"%1 is not a regular file"_s.arg(path));
    }
    // Replace the target of a link, not the link.
    const QString target = info.exists() ? info.canonicalFilePath() : path;
    const QString part = target + u".part"_s;
    download->SetFilePath(part);
    QElapsedTimer time;
    time.start();
    const bool isDownloaded = RunDownload(*download, manager);
    download.reset(); // Closes the file.
    if (!isDownloaded || !Rename(part, target)) {
        if (!parser.isSet(keepPartialOption)) {
            QFile::remove(part);
        }
        return SomeFailed;
    }
    if (!IsQuiet()) {
        PrintLine(
            u"%1: %2 in %3 s"_s.arg(path, SizeText(QFileInfo(path).size()),
                                    QString::number(static_cast<double>(time.elapsed()) / 1000, 'f', 2)));
    }
    return AllValid;
}

/// Downloads to a temporary file, and prints it once it is complete and verified.
int RunToStandardOutput(const QCommandLineParser& parser, IFileDownload& download,
                        const StatusKeeper& manager)
{
    const QTemporaryDir directory;
    QByteArray bytes;
    download.SetFilePath(directory.filePath(u"download"_s));
    return ExitCodeOf(RunDownload(download, manager) && ReadInput(download.GetFilePath(), bytes) &&
                      PrintBody(parser, bytes));
}

int Download(const QCommandLineParser& parser)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2) {
        return FailUsage(u"a URL and a file are needed"_s);
    }
    qint64 size = -1;
    qint64 attempts = 1;
    qint64 timeout = 30;
    QUrl url;
    constexpr qint64 mostInt = std::numeric_limits<int>::max();
    if (!ReadUrl(arguments.at(0), url) ||
        !ReadNumber(parser, sizeOption, 0, std::numeric_limits<qint64>::max(), size) ||
        !ReadNumber(parser, attemptsOption, 1, mostInt, attempts) ||
        !ReadNumber(parser, timeoutOption, 0, mostInt, timeout)) {
        return WrongUsage;
    }
    StatusKeeper manager;
    std::unique_ptr<IFileDownload> download(common::http::CreateFileDownload(&manager, nullptr));
    download->SetUrl(url);
    download->SetFileSize(size);
    download->SetChecksum(parser.value(md5Option));
    download->SetAttemptCount(static_cast<int>(attempts));
    download->SetTimeout(static_cast<int>(timeout));
    return arguments.at(1) == "-"_L1 ? RunToStandardOutput(parser, *download, manager)
                                     : RunToFile(parser, arguments.at(1), std::move(download), manager);
}

const CommandRegistration registration([] {
    return CommandList{
        {u"download"_s,
         u"URL FILE"_s,
         u"Download a file and verify its size and MD5 sum."_s,
         {sizeOption, md5Option, attemptsOption, timeoutOption, keepPartialOption, forceOption},
         Download,
         u"If FILE is \"-\", prints the file once it is complete and verified. MD5 detects damage, not tampering."_s,
         u"vxtool download --attempts 3 --size 1048576 https://example.org/a.bin a.bin"_s},
    };
});

} // namespace

} // namespace vxtool
