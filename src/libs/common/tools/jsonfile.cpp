#include <common/tools/jsonfile.h>

#include <common/logger/logger.h>
#include <common/tools/aes.h>

#include "replaceablefile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace tools
{

namespace
{

constexpr common::logger::Channel logChannel{"jsonfile"};

enum class Outcome
{
    Written,
    CannotOpen,
    CannotWrite
};

/// A write to a file is complete only when its buffer is flushed.
bool WriteAll(QFileDevice& file, const QByteArray& bytes)
{
    return file.write(bytes) == bytes.size() && file.flush();
}

Outcome WriteInPlace(const QString& fileName, const QByteArray& bytes)
{
    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly)) {
        return Outcome::CannotOpen;
    }
    const bool isWritten = WriteAll(file, bytes);
    file.close();
    return isWritten && file.error() == QFileDevice::NoError ? Outcome::Written : Outcome::CannotWrite;
}

/// Whether `size` bytes fit where the bytes of `old` are now. If that cannot be told, they are taken to.
bool HasRoom(const QFileInfo& old, qint64 size)
{
    std::error_code error;
    const auto space = std::filesystem::space(old.filesystemAbsolutePath(), error);
    return error || space.available >= static_cast<quint64>(std::max(size - old.size(), qint64{0}));
}

/// Opening the old file empties it: not without room for the new bytes.
Outcome Overwrite(const QString& fileName, const QByteArray& bytes)
{
    const QString old = QFileInfo(fileName).canonicalFilePath(); // A link is written through.
    if (!old.isEmpty() && !HasRoom(QFileInfo(old), bytes.size())) {
        return Outcome::CannotWrite;
    }
    return WriteInPlace(fileName, bytes);
}

/// Writes a new file aside and puts it in the place of `fileName`.
Outcome Replace(const QString& fileName, const QByteArray& bytes)
{
    QSaveFile file(fileName);
    if (file.open(QIODevice::WriteOnly)) {
        if (!WriteAll(file, bytes)) {
            file.cancelWriting();
            return Outcome::CannotWrite;
        }
        if (file.commit()) {
            return Outcome::Written;
        }
    }
    return Overwrite(fileName, bytes); // The folder forbids new files or the exchange.
}

Outcome Write(const QString& fileName, const QByteArray& bytes)
{
    const QFileInfo info(fileName);
    // A device or a pipe must not be replaced, nor a link that leads nowhere or in a circle.
    const bool mustStay = info.exists() ? !info.isFile() : info.isSymLink();
    if (mustStay) {
        return WriteInPlace(fileName, bytes);
    }
    return info.exists() && !IsReplaceable(fileName) ? Overwrite(fileName, bytes) : Replace(fileName, bytes);
}

} // namespace

JsonFile::JsonFile(const QString& fileName_, const QString& key_)
    : fileName{fileName_}
    , key{key_}
{}

JsonFile::JsonFile(const QString& fileName_, const QJsonDocument& document_, const QString& key_)
    : document(document_)
    , fileName{fileName_}
    , key{key_}
{}

JsonFile::JsonFile(const QString& fileName_, const QJsonObject& object, const QString& key_)
    : document(object)
    , fileName{fileName_}
    , key{key_}
{}

JsonFile::JsonFile(const JsonFile& other) = default;
JsonFile::JsonFile(JsonFile&& other) noexcept = default;
JsonFile& JsonFile::operator=(const JsonFile& other) = default;
JsonFile& JsonFile::operator=(JsonFile&& other) noexcept = default;
JsonFile::~JsonFile() = default;

bool JsonFile::Load()
{
    if (fileName.isEmpty()) {
        LOG_MESSAGE(common::logger::Error) << "FileName is empty!";
        return false;
    }
    QFile file(fileName);
    QByteArray bytes;
    if (file.open(QIODevice::ReadOnly)) {
        bytes = file.readAll();
    }
    if (file.error() != QFileDevice::NoError) {
        LOG_MESSAGE(common::logger::Error)
            << QStringLiteral("Failed to open file '%1' for read!").arg(fileName);
        return false;
    }
    if (!key.isEmpty()) {
        cipher::AES::decrypt(key, bytes, bytes);
        qsizetype size = bytes.size();
        while (size > 0 && bytes.at(size - 1) == '\0') {
            --size;
        }
        bytes.truncate(size);
    }
    document = QJsonDocument::fromJson(bytes);
    return true;
}

bool JsonFile::Save()
{
    if (fileName.isEmpty()) {
        LOG_MESSAGE(common::logger::Error) << "FileName is empty!";
        return false;
    }
    const QDir dir = QFileInfo(fileName).absoluteDir();
    if (!dir.exists() && !dir.mkpath(dir.absolutePath())) {
        LOG_MESSAGE(common::logger::Error)
            << QStringLiteral("Failed to create directory '%1'!").arg(dir.absolutePath());
    }
    Outcome outcome = Outcome::CannotWrite;
    // With a key that the cipher does not support, zero bytes would take the place of the old content.
    if (key.toUtf8().size() <= cipher::AES::maxKeySize) {
        QByteArray bytes = document.toJson(QJsonDocument::Indented);
        if (!key.isEmpty()) {
            cipher::AES::encrypt(key, bytes, bytes);
        }
        outcome = Write(fileName, bytes);
    }
    if (outcome == Outcome::CannotOpen) {
        LOG_MESSAGE(common::logger::Error)
            << QStringLiteral("Failed to open file '%1' for write!").arg(fileName);
    } else if (outcome == Outcome::CannotWrite) {
        LOG_MESSAGE(common::logger::Error)
            << QStringLiteral("Failed to save document in file '%1'!").arg(fileName);
    }
    return outcome == Outcome::Written;
}

const QJsonDocument& JsonFile::Document() const
{
    return document;
}

QJsonObject JsonFile::Object() const
{
    return document.object();
}

} // namespace tools

QTextStream& operator<<(QTextStream& stream, const QJsonDocument& document)
{
    return stream << document.toJson(QJsonDocument::Indented);
}

QTextStream& operator<<(QTextStream& stream, const QJsonObject& object)
{
    return stream << QJsonDocument(object);
}

QTextStream& operator<<(QTextStream& stream, const QJsonArray& array)
{
    return stream << QJsonDocument(array);
}

QTextStream& operator<<(QTextStream& stream, const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::Object:
        return stream << value.toObject();
    case QJsonValue::Array:
        return stream << value.toArray();
    case QJsonValue::Bool:
        return stream << (value.toBool() ? 1 : 0);
    case QJsonValue::Double:
        return stream << value.toDouble();
    case QJsonValue::String:
        return stream << value.toString();
    case QJsonValue::Null:
        return stream << "(null)";
    default:
        return stream << "(undefined)";
    }
}
