#include <common/tools/jsonfile.h>

#include "../platform/savefile.h"

#include <common/logger/logger.h>
#include <common/tools/aes.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <optional>
#include <system_error>

namespace tools
{

using common::platform::FileAccess;
using common::platform::SaveOutcome;

namespace
{

constexpr common::logger::Channel logChannel{"jsonfile"};

/// Returns nothing if the file cannot be opened or read.
std::optional<QByteArray> ReadFile(const QString& fileName)
{
    std::error_code error;
    // Opening a fifo would block until another process opened it for writing.
    if (std::filesystem::is_fifo(QFileInfo(fileName).filesystemFilePath(), error)) {
        return std::nullopt;
    }
    QFile file(fileName);
    const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    return file.error() == QFileDevice::NoError ? std::optional(bytes) : std::nullopt;
}

} // namespace

JsonFile::JsonFile(const QString& fileName_, const QString& key_)
    : JsonFile(fileName_, QJsonDocument(), key_)
{}

JsonFile::JsonFile(const QString& fileName_, const QJsonDocument& document_, const QString& key_)
    : document(document_)
    , fileName{fileName_}
    , key{key_}
{}

JsonFile::JsonFile(const QString& fileName_, const QJsonObject& object, const QString& key_)
    : JsonFile(fileName_, QJsonDocument(object), key_)
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
    std::optional<QByteArray> bytes = ReadFile(fileName);
    if (!bytes) {
        LOG_MESSAGE(common::logger::Error)
            << QStringLiteral("Failed to open file '%1' for read!").arg(fileName);
        return false;
    }
    if (!key.isEmpty()) {
        cipher::AES::decrypt(key, *bytes, *bytes);
        while (bytes->endsWith('\0')) { // The cipher does not remove its padding.
            bytes->chop(1);
        }
    }
    document = QJsonDocument::fromJson(*bytes);
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
    SaveOutcome outcome = SaveOutcome::CannotWrite;
    // With a key that the cipher does not support, zero bytes would replace the old contents.
    if (key.toUtf8().size() <= cipher::AES::maxKeySize) {
        QByteArray bytes = document.toJson(QJsonDocument::Indented);
        if (!key.isEmpty()) {
            cipher::AES::encrypt(key, bytes, bytes);
        }
        outcome = common::platform::SaveFile(fileName, bytes,
                                             key.isEmpty() ? FileAccess::Usual : FileAccess::OwnerOnly);
    }
    if (outcome == SaveOutcome::CannotOpen) {
        LOG_MESSAGE(common::logger::Error)
            << QStringLiteral("Failed to open file '%1' for write!").arg(fileName);
    } else if (outcome == SaveOutcome::CannotWrite) {
        LOG_MESSAGE(common::logger::Error)
            << QStringLiteral("Failed to save document in file '%1'!").arg(fileName);
    }
    return outcome == SaveOutcome::Saved;
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
