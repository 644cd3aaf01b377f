// Test process of scripts/soak.sh: soak SECONDS DIRECTORY URL SIZE MD5
// It logs, downloads, copies, removes, receives messages and watches the system at the same time, and finally
// reports how often each event occurred. The script causes the faults.

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
#include <map>
#include <memory>
#include <string>

namespace
{

constexpr common::logger::Channel logChannel{"soak"};

using std::chrono::milliseconds;

class Soak : public QObject
{
public:
    explicit Soak(const QStringList& arguments);
    ~Soak() override;

private:
    void Download();
    void CheckDownload();
    void Copy();
    void Remove();

    void Count(const std::string& what) { ++counts[what]; }

    void CountAndGoOn(const std::string& what, void (Soak::*next)())
    {
        Count(what);
        QTimer::singleShot(milliseconds(100), this, next);
    }

    template<typename Job>
    void Watch(const Job& job, const std::string& name, void (Soak::*next)())
    {
        Count("jobs");
        connect(&job, &Job::succesed, this, [=] { CountAndGoOn(name, next); });
        connect(&job, &Job::failed, this, [=] { CountAndGoOn(name + "_failed", next); });
    }

    QElapsedTimer clock;
    qint64 duration;
    QDir folder;
    QByteArray md5;
    std::map<std::string, int> counts;
    QTimer logTimer;
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
    connect(download, &common::http::IFileDownload::failed, this,
            [this] { CountAndGoOn("downloads_failed", &Soak::Download); });

    if (peer.isSecondary() || !received.open(QIODevice::WriteOnly)) {
        qFatal("another process runs, or the folder cannot be written");
    }
    connect(&peer, &QtLocalPeer::messageReceived, this, [this](const QString& text) {
        received.write(text.toUtf8() + '\n');
        received.flush();
    });
    const auto* const sleepWatcher = tools::SleepWatcher::instance();
    connect(sleepWatcher, &tools::SleepWatcher::sleep, this, [this] { Count("sleeps"); });
    connect(sleepWatcher, &tools::SleepWatcher::wake, this, [this] { Count("wakes"); });
    connect(&logTimer, &QTimer::timeout, this,
            [this] { LOG_MESSAGE(common::logger::Info) << "line " << ++counts["lines"]; });
    logTimer.start(milliseconds(20));
    Download();
    Copy();
}

Soak::~Soak()
{
    for (const auto& [what, count] : counts) {
        std::printf("%s %d\n", what.c_str(), count);
    }
}

void Soak::Download()
{
    if (!download->Start()) {
        qFatal("a download did not start, though none is running");
    }
}

/// Verifies, without the library, a download that was reported as complete.
void Soak::CheckDownload()
{
    QFile file(download->GetFilePath());
    QCryptographicHash hash(QCryptographicHash::Md5);
    const bool right = file.open(QIODevice::ReadOnly) && hash.addData(&file) && hash.result().toHex() == md5;
    CountAndGoOn(right ? "downloads" : "downloads_wrong", &Soak::Download);
}

void Soak::Copy()
{
    if (clock.elapsed() > duration) {
        QCoreApplication::quit(); // The last job has ended.
        return;
    }
    copier = std::make_unique<common::FileCopier>();
    copier->AddDirectory(folder.filePath(QStringLiteral("source")),
                         folder.filePath(QStringLiteral("disk/copy")));
    Watch(*copier, "copies", &Soak::Remove);
    copier->Copy();
}

void Soak::Remove()
{
    remover = std::make_unique<common::FileRemover>();
    remover->AddDirectory(folder.filePath(QStringLiteral("disk/copy")));
    Watch(*remover, "removals", &Soak::Copy);
    remover->Remove();
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    using namespace common::logger;
    SetLogger(GetLog4cpp());
    const QString log = QDir(arguments.at(2)).filePath(QStringLiteral("log/soak.log"));
    GetLogger()->Configure(Debug, Target::RollingFile, Option::PatternLayout, {}, QStringLiteral("qt"), {},
                           log, {}, std::size_t{1024} * 1024, 500);
    const Soak soak(arguments);
    return QCoreApplication::exec();
}
