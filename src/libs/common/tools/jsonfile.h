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
 * A JSON document (RFC 8259) that is kept in a file, as plain text or enciphered with cipher::AES.
 *
 * A plain value, for one thread at a time. What goes wrong is logged on the channel "jsonfile".
 */
class VXCOMMON_EXPORT JsonFile
{
public:
    /// Takes note of the file and does not touch it. With an empty `key` the file is plain text; see
    /// cipher::AES for what makes a key, above all that more than AES::maxKeySize bytes do not.
    JsonFile(const QString& fileName, const QString& key);
    /// As above, with a document to save.
    JsonFile(const QString& fileName, const QJsonDocument& document, const QString& key);
    /// As above, with an object to save.
    JsonFile(const QString& fileName, const QJsonObject& object, const QString& key);
    JsonFile(const JsonFile& other);                ///< Copies document, file name and key.
    JsonFile(JsonFile&& other) noexcept;            ///< Takes document, file name and key over.
    JsonFile& operator=(const JsonFile& other);     ///< As the copy.
    JsonFile& operator=(JsonFile&& other) noexcept; ///< As the move.
    ~JsonFile();

    /**
     * Reads the document from the file.
     *
     * @return false, with the document as it was, if there is no file name or the file cannot be opened or
     * not be read. A file that holds no JSON, or was enciphered with another key, is read as the null
     * document, and that is no error.
     */
    bool Load();

    /**
     * Writes the document, indented, and makes missing folders. A null document makes an empty file.
     *
     * The file is written aside and then put in the place of the old one, which stays as it was if the disk
     * is full or the process dies. Permissions are kept, access control lists and extended attributes are
     * not. Where the folder does not allow that, and for a file of another user or group or with further
     * names (hard links), and for what is no regular file, it is written in place. A symbolic link stays, and
     * the file it leads to is written.
     *
     * @return false if there is no file name, or the file cannot be opened or not be written as a whole, or
     * the key is not supported, which leaves the old file as it was
     */
    bool Save();

    const QJsonDocument& Document() const; ///< As loaded or given.
    QJsonObject Object() const;            ///< The document's object; empty if it is none.

private:
    QJsonDocument document;
    QString fileName;
    QString key;
};

} // namespace tools

/// Print JSON values in log lines: documents, objects and arrays as indented text, a boolean as 0 or 1, null
/// as "(null)" and an undefined value as "(undefined)".
VXCOMMON_EXPORT QTextStream& operator<<(QTextStream& stream, const QJsonDocument& document);
VXCOMMON_EXPORT QTextStream& operator<<(QTextStream& stream, const QJsonObject& object);
VXCOMMON_EXPORT QTextStream& operator<<(QTextStream& stream, const QJsonArray& array);
VXCOMMON_EXPORT QTextStream& operator<<(QTextStream& stream, const QJsonValue& value);
