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
 * Downloads one URL into one file, checks size and MD5 sum, and tries the whole download again if it fails.
 *
 * Ends with complete, or with failed once no try is left. A status 429 counts as two failures: it uses up two
 * tries. If only one is left besides its own, failed comes, and that try is made all the same and may end in
 * complete; at the last try failed comes twice. The file stays on disk whatever the outcome, also
 * half-written, or with the page of an error in it.
 *
 * The code of failed is that of IHttpRequest::requestError, or one of these:
 *
 * | Code   | Meaning                                                  |
 * |--------|----------------------------------------------------------|
 * | 900100 | there is no request to start                             |
 * | 900101 | the request could not be sent; the log tells why         |
 * | 900102 | folder or file could not be made; not tried again        |
 * | 900103 | size or checksum of what is on disk is not as expected   |
 *
 * A body that the server sends as "gzip" reaches the file as it came over the wire, and is checked so.
 *
 * An MD5 sum finds damage. It is no protection against somebody who wants to slip in another file, since the
 * server is not verified either: see the page on security.
 *
 * Belongs to the thread of the manager. All downloads of a program are made on one thread.
 */
class VXCOMMON_EXPORT IFileDownload : public QObject
{
    Q_OBJECT

public:
    IFileDownload();
    ~IFileDownload() override;

    virtual const quint64& GetId() const = 0; ///< Number of the object in the log, from 100000.

    virtual void SetUrl(const QUrl& url) = 0; ///< Where to download from.
    virtual QUrl GetUrl() const = 0;          ///< As set.

    /// The file to write. Missing folders are made; a file that is there is emptied at each try.
    virtual void SetFilePath(const QString& path) = 0;
    virtual QString GetFilePath() const = 0; ///< As set.

    virtual void SetFileSize(qint64 bytes) = 0; ///< What to expect; negative, the default, for no check.
    virtual qint64 GetFileSize() const = 0;     ///< As set.

    /// The MD5 sum to expect, in hexadecimal of either case; empty, the default, for no check.
    virtual void SetChecksum(const QString& md5) = 0;
    virtual QString GetChecksum() const = 0; ///< As set.

    /// Tries in all, 5 s apart; 0, the default, means one, too, and a negative number tries without end.
    virtual void SetAttemptCount(int count) = 0;
    virtual int GetAttemptCount() const = 0; ///< As set.

    virtual void SetTimeout(int seconds) = 0; ///< See IHttpRequest::SetTimeout; 30 by default.
    virtual int GetTimeout() const = 0;       ///< As set.

    /// Always false, also while a download runs; this is meant.
    virtual bool isRunning() const = 0;

    virtual bool IgnoreSSLErrors() const = 0;         ///< True by default.
    virtual void SetIgnoreSSLErrors(bool ignore) = 0; ///< See IHttpRequest::IgnoreSSLErrors.

    virtual QFile::Permissions GetPermissions() const = 0; ///< As set.
    /// Permissions that the file gets on top of the usual ones; none by default.
    virtual void SetPermissions(QFile::Permissions permissions) = 0;

    /**
     * Begins a try. May be called again after the end; tries are counted on from where they were.
     *
     * @return false if it could not begin; failed was emitted then, unless a download is already on its way
     */
    virtual bool Start() = 0;

public Q_SLOTS:
    /// Drops a running transfer without a signal. A try that waits for its time still comes.
    virtual void Abort() = 0;

Q_SIGNALS:
    void complete(); ///< The file is on disk and as expected.
    /// After the last try: the code of the request's last failure, or 900100 to 900103.
    void failed(int error, const QString& errorString);
    void progress(qint64 bytesReceived, qint64 bytesTotal); ///< In bytes; a total of -1 is unknown.
};

/// A new download on `manager`, which must outlive its use; the caller owns it, or `parent` does.
VXCOMMON_EXPORT IFileDownload* CreateFileDownload(QNetworkAccessManager* manager, QObject* parent);

} // namespace common::http
