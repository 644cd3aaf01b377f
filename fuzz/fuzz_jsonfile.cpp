// Loads arbitrary bytes as a plain and as an encrypted JSON file, and saves the result.

#include "fuzztarget.h"

#include <common/logger/logger.h>
#include <common/tools/jsonfile.h>

#include <QFile>
#include <QTemporaryDir>

using tools::JsonFile;

void RunInput(const QByteArray& input)
{
    static const QTemporaryDir dir;
    static const QString path = dir.filePath(QStringLiteral("file.json"));
    static const QString key = QStringLiteral("secret");
    {
        QFile file(path);
        Require(file.open(QIODevice::WriteOnly) && file.write(input) == input.size(),
                "the file can be written");
    }
    JsonFile encrypted(path, key);
    Require(encrypted.Load(), "any file can be loaded with a key");
    JsonFile plain(path, QString());
    Require(plain.Load(), "any file can be loaded");
    if (plain.Document().isNull()) {
        return;
    }

    Require(JsonFile(path, plain.Document(), QString()).Save() && plain.Load(), "a document can be saved");
    Require(JsonFile(path, plain.Document(), key).Save() && encrypted.Load(), "it can be saved with a key");
    Require(JsonFile(path, encrypted.Document(), QString()).Save() && plain.Load(), "and without it again");
    Require(plain.Document() == encrypted.Document(), "a key changes nothing");
    common::logger::Message(nullptr, nullptr, common::logger::Debug, "", "", 0).GetStream()
        << plain.Document();
}
