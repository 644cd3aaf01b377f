#include "bodywriter.h"

#include <QFileInfo>

namespace common::http
{

namespace
{

/// Size limit of a reply's read buffer, in bytes. A full buffer would stall the transfer, and Qt emits
/// progress at most ten times a second, so a half-full buffer is written immediately.
constexpr qint64 replyBufferSize = qint64{4} * 1024 * 1024;
constexpr qint64 fullReplyBuffer = replyBufferSize / 2;

/// Number of bytes hashed and written at a time; few enough to stay in the processor's cache.
constexpr qsizetype pieceSize = qsizetype{128} * 1024;

} // namespace

FileState StateOf(const QString& path)
{
    const QFileInfo info(path);
    return {info.size(), info.lastModified()};
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
    // Qt 6.4 stalls if the body of a redirect exceeds the limit, and drops the limit after a redirect.
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
    // A reply that a caller has aborted or closed is not readable.
    if (!reply.isReadable() || reply.bytesAvailable() == 0) {
        return;
    }
    if (hash && StateOf(FileName()) != state) {
        hash.reset(); // Another program has changed the file.
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
        // Windows updates the modification time on close unless it was set explicitly.
        file->setFileTime(QDateTime::currentDateTime(), QFileDevice::FileModificationTime);
        written = {StateOf(FileName()), QString::fromLatin1(hash->result().toHex())};
    }
    file->close();
    if (file->error() != QFileDevice::NoError) {
        written = {}; // Some network file systems report lost data only on close.
    }
    return written;
}

} // namespace common::http
