#pragma once

#include <common/vxcommon_export.h>

#include <QFile>
#include <QObject>
#include <QString>
#include <QUrl>

class QNetworkAccessManager;

namespace common::http
{

/**
 * Downloads one URL into one file, verifies size and MD5 sum, and retries the whole download if it fails.
 *
 * A download ends with complete, or with failed once no attempt is left. The file stays on disk whatever the
 * outcome, even if it is incomplete or contains an error page.
 *
 * The MD5 sum is computed while the file is written. At the end it is used if size and modification time show
 * that only the download has written to the file; otherwise the file is read again. A change by another
 * program that keeps both, within the resolution of the time stamps of a write, is not detected.
 *
 * A body that the server sends as "gzip" is stored and verified as received.
 *
 * An HTTP status 429 counts as two failures, and so uses up two attempts. If only one is left, failed is
 * emitted, and that attempt is made nevertheless and may end in complete; at the last attempt failed is
 * emitted twice.
 *
 * @note Use it on the thread of the manager. Create all downloads of a program on one thread.
 * @warning An MD5 sum detects damage, not tampering, and the server is not verified; see the page on
 * security.
 */
class VXCOMMON_EXPORT IFileDownload : public QObject
{
    Q_OBJECT

public:
    /// Codes of failed in addition to those of IHttpRequest::requestError.
    enum ErrorCode : int
    {
        RequestMissing = 900100,    ///< No request to start.
        RequestNotSent = 900101,    ///< A request that could not be sent; the log states the reason.
        FileNotPrepared = 900102,   ///< A directory or file that could not be created, or no regular file.
        VerificationFailed = 900103 ///< A file on disk of another size or checksum than expected.
    };

    IFileDownload();
    ~IFileDownload() override;

    virtual const quint64& GetId() const = 0; ///< Returns the number of the object in the log, from 100000.

    virtual void SetUrl(const QUrl& url) = 0; ///< Sets the URL to download.
    virtual QUrl GetUrl() const = 0;          ///< @see SetUrl

    /// Sets the file to write. Missing directories are created; each attempt empties an existing file.
    virtual void SetFilePath(const QString& path) = 0;
    virtual QString GetFilePath() const = 0; ///< @see SetFilePath

    virtual void SetFileSize(qint64 bytes) = 0; ///< Sets the expected size; negative for no check (default).
    virtual qint64 GetFileSize() const = 0;     ///< @see SetFileSize

    /// Sets the expected MD5 sum in hexadecimal, upper or lower case; empty for no check (default).
    virtual void SetChecksum(const QString& md5) = 0;
    virtual QString GetChecksum() const = 0; ///< @see SetChecksum

    /// Sets the number of attempts, 5 s apart. 0 (default) and 1 mean one attempt, negative means no limit.
    virtual void SetAttemptCount(int count) = 0;
    virtual int GetAttemptCount() const = 0; ///< @see SetAttemptCount

    virtual void SetTimeout(int seconds) = 0; ///< Sets the limit on silence (default: 30 s).
    virtual int GetTimeout() const = 0;       ///< @see SetTimeout, IHttpRequest::SetTimeout

    virtual bool isRunning() const = 0; ///< Returns false. Kept for compatibility: also during a download.

    virtual bool IgnoreSSLErrors() const = 0;         ///< @see SetIgnoreSSLErrors
    virtual void SetIgnoreSSLErrors(bool ignore) = 0; ///< As IHttpRequest::SetIgnoreSSLErrors; on by default.

    virtual QFile::Permissions GetPermissions() const = 0; ///< @see SetPermissions
    /// Sets permissions that the file gets in addition to the usual ones; none by default.
    virtual void SetPermissions(QFile::Permissions permissions) = 0;

    /**
     * Begins an attempt. Can be called again after the end, which continues the count of attempts.
     *
     * @return false if the attempt could not begin. failed has then been emitted, unless a download is
     * running.
     */
    virtual bool Start() = 0;

public Q_SLOTS:
    /// Drops a running transfer silently. An attempt that is already scheduled is still made.
    virtual void Abort() = 0;

Q_SIGNALS:
    void complete(); ///< Emitted when the file is on disk and verified.
    /// Emitted after the last attempt, with an ErrorCode or the code of the request's last failure.
    void failed(int error, const QString& errorString);
    /// Emitted as data arrives, in bytes. `bytesTotal` is -1 if unknown.
    void progress(qint64 bytesReceived, qint64 bytesTotal);
};

/// Creates a download on `manager`, which must outlive its use. The caller owns it, or `parent` if not null.
VXCOMMON_EXPORT IFileDownload* CreateFileDownload(QNetworkAccessManager* manager, QObject* parent);

} // namespace common::http
