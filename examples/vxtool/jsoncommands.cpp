#include "command.h"
#include "output.h"

#include <common/tools/aes.h>
#include <common/tools/jsonfile.h>

#include <QFileInfo>
#include <QJsonDocument>

namespace vxtool
{

namespace
{

using tools::JsonFile;
using tools::cipher::AES;

const QString keyOption = QStringLiteral("key");
const QString showName = QStringLiteral("json show");
const QString setName = QStringLiteral("json set");

void AddOptions(QCommandLineParser& parser)
{
    parser.addOption({keyOption, QStringLiteral("The file is enciphered with the key K, up to 32 bytes."),
                      QStringLiteral("K")});
}

bool Load(JsonFile& file, const QString& fileName)
{
    if (!file.Load()) {
        PrintError(QStringLiteral("vxtool: %1 cannot be read").arg(fileName));
        return false;
    }
    if (file.Document().isNull()) {
        PrintError(QStringLiteral("vxtool: %1 holds no JSON, or the key is another").arg(fileName));
        return false;
    }
    return true;
}

int Show(const QCommandLineParser& parser)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 1) {
        return FailUsage(QStringLiteral("one file is needed"), showName);
    }
    JsonFile file(arguments.at(0), parser.value(keyOption));
    if (!Load(file, arguments.at(0))) {
        return SomeFailed;
    }
    PrintBytes(file.Document().toJson());
    return AllValid;
}

/// A JSON value, or a text if it is none.
QJsonValue ValueOf(const QString& text)
{
    // Documents are objects or arrays, so a lone value is read inside an array.
    const QJsonArray array = QJsonDocument::fromJson('[' + text.toUtf8() + ']').array();
    return array.size() == 1 ? array.at(0) : QJsonValue(text);
}

int Set(const QCommandLineParser& parser)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 3) {
        return FailUsage(QStringLiteral("a file, a name and a value are needed"), setName);
    }
    const QString& fileName = arguments.at(0);
    const QString key = parser.value(keyOption);
    if (key.toUtf8().size() > AES::maxKeySize) {
        return FailUsage(QStringLiteral("the key is longer than %1 bytes").arg(AES::maxKeySize), setName);
    }
    JsonFile old(fileName, QJsonObject(), key);
    // A file that is there and cannot be understood is not overwritten.
    if (QFileInfo::exists(fileName) && !Load(old, fileName)) {
        return SomeFailed;
    }
    if (!old.Document().isObject()) {
        PrintError(QStringLiteral("vxtool json set: %1 holds no object").arg(fileName));
        return SomeFailed;
    }
    QJsonObject object = old.Object();
    object.insert(arguments.at(1), ValueOf(arguments.at(2)));
    if (!JsonFile(fileName, object, key).Save()) {
        PrintError(QStringLiteral("vxtool json set: %1 cannot be written").arg(fileName));
        return SomeFailed;
    }
    return AllValid;
}

const CommandRegistration registration{
    {showName, QStringLiteral("FILE"), QStringLiteral("Show a JSON file, plain or enciphered."), AddOptions,
     Show},
    {setName, QStringLiteral("FILE NAME VALUE"),
     QStringLiteral(
         "Set a value of a JSON file's object; VALUE is JSON, or else a text. Makes a missing file."),
     AddOptions, Set},
};

} // namespace

} // namespace vxtool
