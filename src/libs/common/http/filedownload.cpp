#include "filedownload.h"

#include <common/logger/logger.h>

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QTimer>

#include <chrono>
#include <utility>

namespace common::http
{

namespace
{

constexpr logger::Channel logChannel{"http.download"};

constexpr quint64 firstId = 100000;
constexpr int defaultTimeout = 30;            // Limit on silence, in seconds.
constexpr std::chrono::seconds retryDelay{5}; // Delay between two attempts.

quint64 NextId()
{
    static quint64 next = firstId;
    return next++;
}

/// Reads the file piece by piece, because a large file may not fit into memory. Does not map the file: the
/// process would crash if another program truncated it.
QString ChecksumOf(QFile& file)
{
    QCryptographicHash hash(QCryptographicHash::Md5);
    hash.addData(&file);
    return QString::fromLatin1(hash.result().toHex());
}

} // namespace

IFileDownload::IFileDownload() = default;

IFileDownload::~IFileDownload() = default;

IFileDownload* CreateFileDownload(QNetworkAccessManager* manager, QObject* parent)
{
    return new FileDownload(manager, parent);
}

FileDownload::FileDownload(QNetworkAccessManager* manager, QObject* parent)
    : id(NextId())
{
    CreateRequest(manager);
    setParent(parent);
}

FileDownload::~FileDownload()
{
    file.reset();
    delete request;
}

void FileDownload::SetUrl(const QUrl& url)
{
    if (request.isNull()) {
        LOG_MESSAGE(logger::Crit) << LogPrefix() << "Can't set URL - request doesn't exist!";
        return;
    }
    request->SetUrl(url);
}

void FileDownload::SetTimeout(int seconds)
{
    if (request.isNull()) {
        LOG_MESSAGE(logger::Crit) << LogPrefix() << "Can't set timeout - request doesn't exist!";
        return;
    }
    request->SetTimeout(seconds);
}

int FileDownload::GetTimeout() const
{
    return request.isNull() ? defaultTimeout : request->GetTimeout();
}

void FileDownload::SetIgnoreSSLErrors(bool ignore)
{
    if (request.isNull()) {
        LOG_MESSAGE(logger::Crit) << LogPrefix() << "Can't set ignoring SSL errors - request doesn't exist!";
        return;
    }
    request->SetIgnoreSSLErrors(ignore);
}

void FileDownload::CreateRequest(QNetworkAccessManager* manager)
{
    request = CreateHttpRequest(manager, this);
    if (request.isNull()) {
        LOG_MESSAGE(logger::Crit) << LogPrefix() << "Failed to create HTTP request!";
        return;
    }
    request->SetTimeout(defaultTimeout);
    request->SetIgnoreSSLErrors(true);
    connect(request, &IHttpRequest::requestError, this, &FileDownload::OnRequestError);
    connect(request, &IHttpRequest::requestFinished, this, &FileDownload::OnRequestFinished);
    connect(request, &IHttpRequest::downloadProgress, this, &FileDownload::OnDownloadProgress);
    // Drain the last bytes: Qt may emit no progress for them, and the request reads them after this signal.
    connect(request, &IHttpRequest::replyFinished, this, [this] {
        if (file) {
            file->Drain(*request->Reply());
        }
    });
}

bool FileDownload::Start()
{
    LOG_MESSAGE(logger::Debug) << LogPrefix() << "Trying to start download...";
    if (request.isNull()) {
        return FailAtStart(RequestMissing, QStringLiteral("Can't start download: request doesn't exist!"));
    }
    if (request->isRunning()) {
        LOG_MESSAGE(logger::Crit) << LogPrefix() << "Can't start download: request already started!";
        return false;
    }
    if (!PrepareFile(GetFilePath())) {
        Q_EMIT failed(FileNotPrepared, QStringLiteral("Can't prepare file!"));
        return false;
    }
    if (!request->Get()) {
        return FailAtStart(RequestNotSent, QStringLiteral("Can't start download: request failed!"));
    }
    file->Attach(*request->Reply());
    return true;
}

bool FileDownload::FailAtStart(ErrorCode error, const QString& text)
{
    LOG_MESSAGE(logger::Crit) << LogPrefix() << text;
    Q_EMIT failed(error, text);
    return false;
}

bool FileDownload::PrepareFile(const QString& path)
{
    if (file) {
        LOG_MESSAGE(logger::Debug) << LogPrefix() << "closing previously open file '" << file->FileName()
                                   << "'.";
        file.reset();
    }
    const QFileInfo info(path);
    const QString directory = info.absolutePath();
    if (!QDir().mkpath(directory)) {
        LOG_MESSAGE(logger::Crit) << LogPrefix() << "Failed to create directory '" << directory << "'!";
        return false;
    }
    auto output = std::make_unique<QFile>(info.absoluteFilePath());
    // Opening a fifo would block until another process opened it for reading.
    const bool isSpecial = info.exists() && !info.isFile() && !info.isDir();
    // Kept for compatibility: the log lines below name the directory, not the file.
    if (isSpecial || !output->open(QIODevice::WriteOnly)) {
        LOG_MESSAGE(logger::Crit) << LogPrefix() << "Failed to open file '" << directory << "'!";
        LOG_MESSAGE(logger::Error) << LogPrefix() << "I/O error: '"
                                   << (isSpecial ? QStringLiteral("Not a regular file")
                                                 : output->errorString())
                                   << "'.";
        return false;
    }
    if (!output->setPermissions(output->permissions() | GetPermissions())) {
        LOG_MESSAGE(logger::Error) << LogPrefix() << "Failed to set permissions to file '" << directory
                                   << "'!";
        LOG_MESSAGE(logger::Error) << LogPrefix() << "I/O error: '" << output->errorString() << "'.";
    }
    file = std::make_unique<BodyWriter>(
        std::move(output), !checksum.isEmpty(), [this](qint64 read, qint64 written) {
            LOG_MESSAGE(logger::Debug)
                << LogPrefix() << "readed from device " << read << ", written " << written << " bytes.";
        });
    return true;
}

void FileDownload::OnDownloadProgress(qint64 bytesReceived, qint64 bytesTotal)
{
    LOG_MESSAGE(logger::Debug) << LogPrefix() << "download progress: bytesReceived=" << bytesReceived
                               << ", bytesTotal=" << bytesTotal << ".";
    if (file) {
        const auto* source = qobject_cast<IHttpRequest*>(sender());
        QNetworkReply* const reply = source != nullptr ? source->Reply() : nullptr;
        if (reply != nullptr) {
            file->Drain(*reply);
        } else {
            LOG_MESSAGE(logger::Crit) << LogPrefix() << "can't access to reply!";
        }
    } else {
        LOG_MESSAGE(logger::Crit) << LogPrefix() << "missing file to write!";
    }
    Q_EMIT progress(bytesReceived, bytesTotal);
}

void FileDownload::OnRequestFinished(const QString& /*result*/)
{
    const WrittenSum written = file ? file->Finish() : WrittenSum();
    file.reset();
    if (CheckDownload(written)) {
        Q_EMIT complete();
    } else {
        Retry(VerificationFailed, QStringLiteral("Download verification failed!"));
    }
}

void FileDownload::OnRequestError(int error, const QString& errorDesc)
{
    LOG_MESSAGE(logger::Error) << LogPrefix() << "Failed with error " << error << ", (" << errorDesc << ").";
    file.reset();
    Retry(error, errorDesc);
}

void FileDownload::Retry(int error, const QString& errorDesc)
{
    // Kept for compatibility: the comparison is unsigned, so a negative count means no limit.
    if (attempt >= static_cast<unsigned int>(attemptCount)) {
        LOG_MESSAGE(logger::Error) << LogPrefix() << "Downloading failed. No more tries.";
        Q_EMIT failed(error, errorDesc);
        return;
    }
    LOG_MESSAGE(logger::Debug) << LogPrefix() << "Retrying download...";
    ++attempt;
    QTimer::singleShot(retryDelay, this, &FileDownload::Start);
}

bool FileDownload::CheckDownload(const WrittenSum& written)
{
    QFile downloaded(GetFilePath());
    if (!downloaded.open(QIODevice::ReadOnly)) {
        LOG_MESSAGE(logger::Error) << LogPrefix() << "Checking download failed to open file '"
                                   << downloaded.fileName() << "'.";
        return false;
    }
    const qint64 size = downloaded.size();
    if (fileSize >= 0 && fileSize != size) {
        LOG_MESSAGE(logger::Error) << LogPrefix() << "Checking download failed by size! Expected " << fileSize
                                   << " bytes, downloaded " << size << " bytes.";
        return false;
    }
    if (!checksum.isEmpty()) {
        const bool isKnown = !written.sum.isEmpty() && StateOf(downloaded.fileName()) == written.state;
        const QString sum = isKnown ? written.sum : ChecksumOf(downloaded);
        if (sum.compare(checksum, Qt::CaseInsensitive) != 0) {
            LOG_MESSAGE(logger::Error) << LogPrefix() << "Checking download failed by checksum! Expected '"
                                       << checksum << "', downloaded '" << sum << "'.";
            return false;
        }
    }
    return true;
}

void FileDownload::Abort()
{
    if (request.isNull()) {
        LOG_MESSAGE(logger::Crit) << LogPrefix() << "Can't abort request - request doesn't exist!";
        return;
    }
    request->Abort();
}

QString FileDownload::LogPrefix() const
{
    return QStringLiteral("[%1, %2]: ").arg(QString::number(id), QString::number(attempt));
}

} // namespace common::http
