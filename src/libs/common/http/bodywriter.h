#pragma once

#include <QByteArray>
#include <QCryptographicHash>
#include <QDateTime>
#include <QFile>
#include <QNetworkReply>
#include <QObject>

#include <functional>
#include <memory>
#include <utility>

namespace common::http
{

/// The size and the modification time of a file, which show whether the file has changed.
using FileState = std::pair<qint64, QDateTime>;

/// Returns the state of the file at `path`.
FileState StateOf(const QString& path);

/// The MD5 sum of a written file, valid only while the file is in `state`.
struct WrittenSum
{
    FileState state;
    QString sum; ///< In hexadecimal; empty if unknown.
};

/**
 * Writes the body of a reply to a file as the data arrives, and computes the MD5 sum.
 *
 * Over HTTP/1.1, at most a few MiB of the body are held in memory.
 */
class BodyWriter final : public QObject
{
public:
    using Report = std::function<void(qint64 read, qint64 written)>;

    /// `file_` must be open for writing. Each Drain that finds data calls `report_` with the numbers of bytes
    /// read and written; the latter is -1 if a write failed.
    BodyWriter(std::unique_ptr<QFile> file_, bool computesSum, Report report_);

    QString FileName() const { return file->fileName(); }

    /// Limits the read buffer of a new reply, and drains the reply whenever the buffer is half full.
    void Attach(QNetworkReply& reply);

    /// Writes all received data to the file.
    void Drain(QNetworkReply& reply);

    /// Closes the file. Returns an empty sum if the file may differ from the written data.
    WrittenSum Finish();

private:
    Q_DISABLE_COPY(BodyWriter)

    std::unique_ptr<QFile> file;
    const Report report;
    std::unique_ptr<QCryptographicHash> hash; ///< Null if the sum is not needed or no longer reliable.
    FileState state;                          ///< State after the last write.
    QByteArray buffer;
};

} // namespace common::http
