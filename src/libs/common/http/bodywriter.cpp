#include "bodywriter.h"

#include <QFileInfo>

#include <utility>

namespace common::http
{

namespace
{

/// Limit of a reply's buffer, in bytes. Qt emits progress at most ten times a second, and a transfer would
/// stall while the buffer is full, so a half-full buffer is written at once.
constexpr qint64 replyBufferSize = qint64{4} * 1024 * 1024;
constexpr qint64 fullReplyBuffer = replyBufferSize / 2;

/// Bytes that are hashed and written at a time, while they are in the processor's cache.
constexpr qsizetype pieceSize = qsizetype{128} * 1024;

} // namespace

FileState StateOf(const QString& path)
{
    const QFileInfo info(path);
    return {info.size(), info.lastModified()};
}

bool operator==(const FileState& left, const FileState& right)
{
    return left.size == right.size && left.modified == right.modified;
}

BodyWriter::BodyWriter(std::unique_ptr<QFile> file_, bool computesSum, Report report_)
    : file(std::move(file_))
    , report(std::move(report_))
    , hash(computesSum ? std::make_unique<QCryptographicHash>(QCryptographicHash::Md5) : nullptr)
    , state(StateOf(file->fileName()))
    , buffer(pieceSize, Qt::Uninitialized)
{}

void BodyWriter::Attach(QNetworkReply& reply)
{
    reply.setReadBufferSize(replyBufferSize);
    // Qt 6.4 stalls on a larger body of a redirect, and drops the limit after it.
    connect(&reply, &QNetworkReply::metaDataChanged, this, [&reply] {
        const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        reply.setReadBufferSize(status / 100 == 3 ? 0 : replyBufferSize);
    });
    connect(&reply, &QNetworkReply::readyRead, this, [this, &reply] {
        if (reply.bytesAvailable() >= fullReplyBuffer) {
            Drain(reply);
        }
    });
}

void BodyWriter::Drain(QNetworkReply& reply)
{
    // Not readable if a caller has aborted or closed it.
    if (!reply.isReadable() || reply.bytesAvailable() == 0) {
        return;
    }
    if (hash && !(StateOf(FileName()) == state)) {
        hash.reset(); // Changed by another program.
    }
    qint64 read = 0;
    qint64 written = 0;
    for (qint64 size = reply.read(buffer.data(), pieceSize); size > 0;
         size = reply.read(buffer.data(), pieceSize)) {
        read += size;
        if (hash) {
            hash->addData(QByteArrayView(buffer.constData(), size));
        }
        const qint64 result = file->write(buffer.constData(), size);
        written = written < 0 || result < 0 ? -1 : written + result;
    }
    if (!file->flush() || written != read) {
        hash.reset();
    }
    state = StateOf(FileName());
    report(read, written);
}

WrittenSum BodyWriter::Finish()
{
    WrittenSum written;
    if (hash && StateOf(FileName()) == state) {
        // Windows sets the time when the file is closed, unless it was set explicitly.
        file->setFileTime(QDateTime::currentDateTime(), QFileDevice::FileModificationTime);
        written = {StateOf(FileName()), QString::fromLatin1(hash->result().toHex())};
    }
    file->close();
    if (file->error() != QFileDevice::NoError) {
        written = {}; // Some network file systems report only now that bytes are lost.
    }
    return written;
}

} // namespace common::http
