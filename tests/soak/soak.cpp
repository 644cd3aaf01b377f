// The process that scripts/soak.sh watches: soak SECONDS FOLDER URL SIZE MD5
// It logs, downloads, copies, removes, receives texts and watches the system at the same time, counts what
// came of it, and writes a line with its counts and its memory each second. What goes wrong around it is the
// script's doing.

#include <common/http/ifiledownload.h>
#include <common/idle/idlewatcher.h>
#include <common/logger/logger.h>
#include <common/shell/filecopier.h>
#include <common/shell/fileremover.h>
#include <common/singleapp/qtlocalpeer.h>
#include <common/tools/datewatcher.h>
#include <common/tools/sleepwatcher.h>

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QNetworkAccessManager>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <memory>

namespace
{

constexpr common::logger::Channel logChannel{"soak"};

using std::chrono::milliseconds;

// Between two jobs of a kind, and between two log lines.
constexpr milliseconds pauseBetweenJobs(100);
constexpr milliseconds logInterval(20);

struct Counts
{
    int lines = 0;
    int downloads = 0, downloadsFailed = 0, downloadsWrong = 0;
    int copies = 0, copiesFailed = 0;
    int removals = 0, removalsFailed = 0;
    int jobsStarted = 0;
    int sleeps = 0, wakes = 0;
};

/// Resident memory of this process in KiB.
long ResidentMemory()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (status.open(QIODevice::ReadOnly)) {
        for (const QByteArray& line : status.readAll().split('\n')) {
            if (line.startsWith("VmRSS:")) {
                return line.simplified().split(' ').value(1).toLong();
            }
        }
    }
    return 0;
}

long EntriesOf(const char* folder)
{
    return static_cast<long>(QDir(QString::fromLatin1(folder)).entryList().size());
}

class Soak : public QObject
{
    Q_OBJECT

public:
    explicit Soak(const QStringList& arguments);

private:
    void Log();
    void Download();
    void CheckDownload();
    void Copy();
    void Remove();
    void Report();

    template<typename Job>
    void Again(Job job)
    {
        QTimer::singleShot(pauseBetweenJobs, this, job);
    }

    QElapsedTimer clock;
    qint64 duration;
    QDir folder;
    QByteArray md5;
    Counts counts;
    QTimer logTimer;
    QTimer reportTimer;
    QNetworkAccessManager network;
    common::http::IFileDownload* download;
    std::unique_ptr<common::FileCopier> copier;
    std::unique_ptr<common::FileRemover> remover;
    QtLocalPeer peer;
    QFile received;
    QSharedPointer<common::IdleWatcher> idleWatcher = common::IdleWatcher::instance();
    QSharedPointer<tools::DateWatcher> dateWatcher = tools::DateWatcher::GetDateWatcher();
};

Soak::Soak(const QStringList& arguments)
    : duration(arguments.at(1).toLongLong() * 1000)
    , folder(arguments.at(2))
    , md5(arguments.at(5).toLatin1())
    , download(common::http::CreateFileDownload(&network, this))
    , peer(nullptr, QStringLiteral("vxcommon-soak"))
    , received(folder.filePath(QStringLiteral("received.txt")))
{
    clock.start();
    download->SetUrl(QUrl(arguments.at(3)));
    download->SetFilePath(folder.filePath(QStringLiteral("download.bin")));
    download->SetFileSize(arguments.at(4).toLongLong());
    download->SetChecksum(arguments.at(5));
    download->SetTimeout(2);
    connect(download, &common::http::IFileDownload::complete, this, &Soak::CheckDownload);
    connect(download, &common::http::IFileDownload::failed, this, [this] {
        ++counts.downloadsFailed;
        Again([this] { Download(); });
    });

    if (peer.isSecondary() || !received.open(QIODevice::WriteOnly)) {
        qFatal("another process runs, or the folder cannot be written");
    }
    connect(&peer, &QtLocalPeer::messageReceived, this, [this](const QString& text) {
        received.write(text.toUtf8() + '\n');
        received.flush();
    });
    const auto* const sleepWatcher = tools::SleepWatcher::instance();
    connect(sleepWatcher, &tools::SleepWatcher::sleep, this, [this] { ++counts.sleeps; });
    connect(sleepWatcher, &tools::SleepWatcher::wake, this, [this] { ++counts.wakes; });

    connect(&logTimer, &QTimer::timeout, this, &Soak::Log);
    logTimer.start(logInterval);
    connect(&reportTimer, &QTimer::timeout, this, &Soak::Report);
    reportTimer.start(1000);
    std::puts("ms,rss_kib,descriptors,threads,lines,downloads,downloads_failed,downloads_wrong,jobs,copies,"
              "copies_failed,removals,removals_failed,sleeps,wakes");
    Download();
    Copy();
}

void Soak::Log()
{
    LOG_MESSAGE(common::logger::Info) << "line " << ++counts.lines;
}

void Soak::Download()
{
    if (!download->Start()) {
        qFatal("a download did not start, though none is running");
    }
}

/// What is told to be complete is looked at again, by other means.
void Soak::CheckDownload()
{
    QFile file(download->GetFilePath());
    QCryptographicHash hash(QCryptographicHash::Md5);
    const bool right = file.open(QIODevice::ReadOnly) && hash.addData(&file) && hash.result().toHex() == md5;
    ++(right ? counts.downloads : counts.downloadsWrong);
    Again([this] { Download(); });
}

void Soak::Copy()
{
    if (clock.elapsed() > duration) {
        return; // The last jobs end by themselves.
    }
    copier = std::make_unique<common::FileCopier>();
    copier->AddDirectory(folder.filePath(QStringLiteral("source")),
                         folder.filePath(QStringLiteral("disk/copy")));
    connect(copier.get(), &common::FileCopier::succesed, this, [this] {
        ++counts.copies;
        Again([this] { Remove(); });
    });
    connect(copier.get(), &common::FileCopier::failed, this, [this] {
        ++counts.copiesFailed;
        Again([this] { Remove(); });
    });
    ++counts.jobsStarted;
    copier->Copy();
}

void Soak::Remove()
{
    remover = std::make_unique<common::FileRemover>();
    remover->AddDirectory(folder.filePath(QStringLiteral("disk/copy")));
    connect(remover.get(), &common::FileRemover::succesed, this, [this] {
        ++counts.removals;
        Again([this] { Copy(); });
    });
    connect(remover.get(), &common::FileRemover::failed, this, [this] {
        ++counts.removalsFailed;
        Again([this] { Copy(); });
    });
    ++counts.jobsStarted;
    remover->Remove();
}

void Soak::Report()
{
    std::printf("%lld,%ld,%ld,%ld,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d\n",
                static_cast<long long>(clock.elapsed()), ResidentMemory(), EntriesOf("/proc/self/fd"),
                EntriesOf("/proc/self/task"), counts.lines, counts.downloads, counts.downloadsFailed,
                counts.downloadsWrong, counts.jobsStarted, counts.copies, counts.copiesFailed,
                counts.removals, counts.removalsFailed, counts.sleeps, counts.wakes);
    static_cast<void>(std::fflush(stdout));
    const int ended = counts.copies + counts.copiesFailed + counts.removals + counts.removalsFailed;
    if (clock.elapsed() > duration && ended == counts.jobsStarted) {
        logTimer.stop();
        QCoreApplication::quit();
    }
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 6) {
        static_cast<void>(std::fputs("usage: soak SECONDS FOLDER URL SIZE MD5\n", stderr));
        return 2;
    }
    using namespace common::logger;
    SetLogger(GetLog4cpp());
    const QString log = QDir(arguments.at(2)).filePath(QStringLiteral("log/soak.log"));
    GetLogger()->Configure(Debug, RollingFile, PatternLayout, {}, QStringLiteral("qt"), {}, log, {},
                           std::size_t{1024} * 1024, 500);
    const Soak soak(arguments);
    return QCoreApplication::exec();
}

#include "soak.moc"
