#pragma once

#include <QByteArray>
#include <QCryptographicHash>
#include <QDateTime>
#include <QFile>
#include <QNetworkReply>
#include <QObject>

#include <functional>
#include <memory>

namespace common::http
{

/// The state of a file as far as the file system shows it.
struct FileState
{
    qint64 size = 0;
    QDateTime modified;
};

/// Reads size and modification time of the file at `path`.
FileState StateOf(const QString& path);
bool operator==(const FileState& left, const FileState& right);

/// The MD5 sum of a file that was written, valid as long as the file is in this state.
struct WrittenSum
{
    FileState state;
    QString sum; ///< In hexadecimal; empty if unknown.
};

/**
 * Writes the body of a reply into a file while it arrives, and computes its MD5 sum on the way.
 *
 * Over HTTP/1.1, at most a few MiB of the body wait in memory.
 */
class BodyWriter final : public QObject
{
public:
    using Report = std::function<void(qint64 read, qint64 written)>;

    /// Takes a file that is open for writing. Calls `report` with the bytes of each Drain, -1 for a failed
    /// write.
    BodyWriter(std::unique_ptr<QFile> file_, bool computesSum, Report report_);

    QString FileName() const { return file->fileName(); }

    /// Limits the memory of a new reply, and drains the reply whenever much of that is in use.
    void Attach(QNetworkReply& reply);

    /// Writes what has arrived.
    void Drain(QNetworkReply& reply);

    /// Closes the file. The sum is empty if the file may differ from what was written.
    WrittenSum Finish();

private:
    Q_DISABLE_COPY(BodyWriter)

    std::unique_ptr<QFile> file;
    const Report report;
    std::unique_ptr<QCryptographicHash> hash; ///< Null if the sum is not needed or no longer certain.
    FileState state;                          ///< After the last write.
    QByteArray buffer;
};

} // namespace common::http
