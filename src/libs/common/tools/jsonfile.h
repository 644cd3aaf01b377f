#pragma once

#include <common/vxcommon_export.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QTextStream>

namespace tools
{

/**
 * A JSON document (RFC 8259) that is stored in a file, as plain text or encrypted with cipher::AES.
 *
 * A value type. Use an object on one thread at a time. Errors are logged on the channel "jsonfile".
 */
class VXCOMMON_EXPORT JsonFile
{
public:
    /// Stores the arguments and does not access the file. If `key` is empty, the file is plain text. A key of
    /// more than AES::maxKeySize bytes is not supported.
    JsonFile(const QString& fileName, const QString& key);
    /// As above, with a document to save.
    JsonFile(const QString& fileName, const QJsonDocument& document, const QString& key);
    /// As above, with an object to save.
    JsonFile(const QString& fileName, const QJsonObject& object, const QString& key);
    JsonFile(const JsonFile& other);                ///< Copies document, file name and key.
    JsonFile(JsonFile&& other) noexcept;            ///< Moves document, file name and key.
    JsonFile& operator=(const JsonFile& other);     ///< @see the copy constructor
    JsonFile& operator=(JsonFile&& other) noexcept; ///< @see the move constructor
    ~JsonFile();

    /**
     * Reads the document from the file.
     *
     * If the file contains no JSON, or was encrypted with another key, the document becomes null. This is not
     * an error.
     *
     * @return false, with the document unchanged, if the file name is empty, or if the file is a fifo or
     * cannot be opened or read
     */
    bool Load();

    /**
     * Writes the document as indented JSON. Creates missing directories. A null document gives an empty file.
     *
     * Writes a temporary file and renames it, so that a full disk or a killed process leaves the old file
     * intact. Keeps the owner, group, permissions, access control list, hard links and symbolic links of the
     * old file. If a rename would lose any of them, or the directory does not allow new files, overwrites the
     * file in place. Also overwrites devices and pipes in place. Does not keep other extended attributes. On
     * POSIX systems, only the owner can read a newly created encrypted file.
     *
     * @return false if the file name is empty, if the file cannot be opened or written completely, or if the
     * key is not supported; an unsupported key leaves the old file unchanged
     */
    bool Save();

    const QJsonDocument& Document() const; ///< Returns the document that was loaded or passed in.
    QJsonObject Object() const;            ///< Returns the document's object, or an empty one.

private:
    QJsonDocument document;
    QString fileName;
    QString key;
};

} // namespace tools

/// Prints a JSON value to `stream`: documents, objects and arrays as indented text, booleans as 0 or 1, null
/// as "(null)" and undefined values as "(undefined)".
VXCOMMON_EXPORT QTextStream& operator<<(QTextStream& stream, const QJsonDocument& document);
VXCOMMON_EXPORT QTextStream& operator<<(QTextStream& stream, const QJsonObject& object);
VXCOMMON_EXPORT QTextStream& operator<<(QTextStream& stream, const QJsonArray& array);
VXCOMMON_EXPORT QTextStream& operator<<(QTextStream& stream, const QJsonValue& value);
