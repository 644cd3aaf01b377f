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
 * Downloads a URL to a file, verifies its size and MD5 sum, and retries the whole download if it fails.
 *
 * A download ends with complete or failed. The file stays on disk whatever the outcome, even if it is
 * incomplete or contains an error page.
 *
 * The MD5 sum is computed while the file is written. If the size or modification time shows that another
 * program has changed the file, the sum is computed from the file instead. A change is not detected if it
 * leaves the size and the modification time as they were.
 *
 * A body that the server sends as "gzip" is stored and verified as received.
 *
 * HTTP status 429 counts as two failures and uses up two attempts. If only one more attempt is left, failed
 * is emitted, but that attempt is still made and may end with complete. At the last attempt, failed is
 * emitted twice.
 *
 * @note Use a download only on the thread of its manager. Create all downloads on the same thread.
 * @warning An MD5 sum detects damage, not tampering, and the server is not verified; see the page on
 * security.
 */
class VXCOMMON_EXPORT IFileDownload : public QObject
{
    Q_OBJECT

public:
    /// Error codes of the signal failed, in addition to those of IHttpRequest::requestError.
    enum ErrorCode : int
    {
        RequestMissing = 900100,    ///< A request object that was deleted.
        RequestNotSent = 900101,    ///< A request that could not be sent; the log states the reason.
        FileNotPrepared = 900102,   ///< A file that could not be created or opened, or is not regular.
        VerificationFailed = 900103 ///< A file that is unreadable or has an unexpected size or MD5 sum.
    };

    IFileDownload();
    ~IFileDownload() override;

    virtual const quint64& GetId() const = 0; ///< Returns the download's number in the log, from 100000.

    virtual void SetUrl(const QUrl& url) = 0; ///< Sets the URL to download.
    virtual QUrl GetUrl() const = 0;          ///< @see SetUrl

    /// Sets the file to write. Each attempt creates missing directories and empties an existing file.
    virtual void SetFilePath(const QString& path) = 0;
    virtual QString GetFilePath() const = 0; ///< @see SetFilePath

    virtual void SetFileSize(qint64 bytes) = 0; ///< Sets the expected size; negative for no check (default).
    virtual qint64 GetFileSize() const = 0;     ///< @see SetFileSize

    /// Sets the expected MD5 sum in hexadecimal, upper or lower case; empty for no check (default).
    virtual void SetChecksum(const QString& md5) = 0;
    virtual QString GetChecksum() const = 0; ///< @see SetChecksum

    /// Sets the number of attempts, 5 s apart. 0 (default) and 1 mean one attempt; a negative number means
    /// no limit.
    virtual void SetAttemptCount(int count) = 0;
    virtual int GetAttemptCount() const = 0; ///< @see SetAttemptCount

    virtual void SetTimeout(int seconds) = 0; ///< Sets the limit on silence (default: 30 s).
    virtual int GetTimeout() const = 0;       ///< @see SetTimeout, IHttpRequest::SetTimeout

    virtual bool isRunning() const = 0; ///< Kept for compatibility: returns false even during a download.

    virtual bool IgnoreSSLErrors() const = 0;         ///< @see SetIgnoreSSLErrors
    virtual void SetIgnoreSSLErrors(bool ignore) = 0; ///< See IHttpRequest; here, the default is true.

    virtual QFile::Permissions GetPermissions() const = 0; ///< @see SetPermissions
    /// Sets permissions that the opened file receives in addition to its own (default: none).
    virtual void SetPermissions(QFile::Permissions permissions) = 0;

    /**
     * Begins an attempt. Can be called again after complete or failed; the count of attempts continues.
     *
     * @return false if the attempt could not begin. In that case failed has been emitted, unless an attempt
     * is already running.
     */
    virtual bool Start() = 0;

public Q_SLOTS:
    /// Silently drops a running transfer. An attempt that is already scheduled is still made.
    virtual void Abort() = 0;

Q_SIGNALS:
    void complete(); ///< Emitted when the file is on disk and verified.
    /// Emitted when the last attempt has failed, or when an attempt cannot begin. `error` is an ErrorCode or
    /// a code of IHttpRequest::requestError.
    void failed(int error, const QString& errorString);
    /// Emitted as data arrives. The sizes are in bytes; `bytesTotal` is -1 if unknown.
    void progress(qint64 bytesReceived, qint64 bytesTotal);
};

/// Creates a download that uses `manager`; keep the manager alive while you use the download. The caller owns
/// the download unless `parent` is set.
VXCOMMON_EXPORT IFileDownload* CreateFileDownload(QNetworkAccessManager* manager, QObject* parent);

} // namespace common::http
