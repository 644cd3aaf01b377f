#pragma once

#include "bodywriter.h"

#include <common/http/ifiledownload.h>
#include <common/http/ihttprequest.h>

#include <QPointer>

#include <memory>

namespace common::http
{

class FileDownload final : public IFileDownload
{
    Q_OBJECT

public:
    FileDownload(QNetworkAccessManager* manager, QObject* parent);
    ~FileDownload() override;

    const quint64& GetId() const override { return id; }
    void SetUrl(const QUrl& url) override;
    QUrl GetUrl() const override { return request.isNull() ? QUrl() : request->GetUrl(); }
    void SetFilePath(const QString& path) override { filePath = path; }
    QString GetFilePath() const override { return filePath; }
    void SetFileSize(qint64 bytes) override { fileSize = bytes; }
    qint64 GetFileSize() const override { return fileSize; }
    void SetChecksum(const QString& md5) override { checksum = md5; }
    QString GetChecksum() const override { return checksum; }
    void SetAttemptCount(int count) override { attemptCount = count; }
    int GetAttemptCount() const override { return attemptCount; }
    void SetTimeout(int seconds) override;
    int GetTimeout() const override;
    bool isRunning() const override { return false; } // Kept for compatibility, even while a request runs.
    bool IgnoreSSLErrors() const override { return request.isNull() || request->IgnoreSSLErrors(); }
    void SetIgnoreSSLErrors(bool ignore) override;
    QFile::Permissions GetPermissions() const override { return permissions; }
    void SetPermissions(QFile::Permissions permissions_) override { permissions = permissions_; }

public Q_SLOTS:
    bool Start() override;
    void Abort() override;

private Q_SLOTS:
    void OnRequestError(int error, const QString& errorDesc);
    void OnRequestFinished(const QString& result);
    void OnDownloadProgress(qint64 bytesReceived, qint64 bytesTotal);

private:
    Q_DISABLE_COPY(FileDownload)

    void CreateRequest(QNetworkAccessManager* manager);
    bool PrepareFile(const QString& path);
    void Retry(int error, const QString& errorDesc);
    bool CheckDownload(const WrittenSum& written);
    bool FailAtStart(ErrorCode error, const QString& text);
    QString LogPrefix() const;

    quint64 id;
    QPointer<IHttpRequest> request; ///< Owned; weak, because any code can find this child and delete it.
    std::unique_ptr<BodyWriter> file;
    QString filePath;
    QString checksum;
    qint64 fileSize = -1;
    int attemptCount = 0;
    unsigned int attempt = 1;
    QFile::Permissions permissions;
};

} // namespace common::http
