#include "command.h"
#include "input.h"
#include "output.h"

#include <common/tools/aes.h>
#include <common/tools/jsonfile.h>
#include <common/tools/qcompressor.h>

#include <QFileInfo>
#include <QJsonDocument>
#include <QTemporaryFile>
#include <QtEndian>

#include <zlib.h>

namespace vxtool
{

namespace
{

using tools::JsonFile;
using tools::QCompressor;
using tools::cipher::AES;

const Option keyOption{u"key"_s, u"Key of up to 32 bytes. The process list shows it to every user."_s,
                       u"KEY"_s};
const Option keyFileOption{u"key-file"_s, u"Read the key from the first line of FILE."_s, u"FILE"_s};
const Option rawOption{u"raw"_s, u"Read bytes from FILE or standard input, and print bytes."_s};
const Option levelOption{u"level"_s, u"Compression level from 0 (none) to 9 (smallest) (default: 6)."_s,
                         u"N"_s};
const QString keyDetails =
    u"If neither --key nor --key-file is given, the environment variable VXTOOL_KEY provides the key."_s;

/// Sets `key` from the options or the environment, or to `otherwise` if they set no key. Prints an error on
/// failure.
bool ReadKey(const QCommandLineParser& parser, const QString& otherwise, QString& key)
{
    key = qEnvironmentVariable("VXTOOL_KEY");
    if (parser.isSet(keyFileOption)) {
        QByteArray bytes;
        if (!ReadInput(parser.value(keyFileOption), bytes)) {
            return false;
        }
        key = QString::fromUtf8(bytes.left(bytes.indexOf('\n')));
        if (key.endsWith(u'\r')) {
            key.chop(1);
        }
    }
    if (parser.isSet(keyOption)) {
        key = parser.value(keyOption);
    }
    if (key.isEmpty()) {
        key = otherwise;
        // An empty key most likely comes from an unset variable. It must not disable encryption.
        return !(parser.isSet(keyOption) || parser.isSet(keyFileOption)) || Complain(u"the key is empty"_s);
    }
    // With a longer key, the output would consist of zero bytes.
    return key.toUtf8().size() <= AES::maxKeySize ||
           Complain(u"the key is longer than %1 bytes"_s.arg(AES::maxKeySize));
}

/// Returns a command that converts a file (--raw) or strings. `isValid` checks each string.
Run RunCipher(bool (*isValid)(const QByteArray&), QString (*ofText)(const QString&, const QString&),
              QByteArray& (*ofBytes)(const QString&, const QByteArray&, QByteArray&))
{
    return [=](const QCommandLineParser& parser) -> int {
        QString key;
        if (!ReadKey(parser, AES::machineKey(), key)) {
            return WrongUsage;
        }
        if (!parser.isSet(rawOption)) {
            return ExitCodeOf(ForEachInput(parser.positionalArguments(), [&](const QString& text) {
                if (!isValid(text.toUtf8())) {
                    return Complain(u"\"%1\" is not encrypted text in Base64"_s.arg(text));
                }
                PrintLine(ofText(key, text));
                return true;
            }));
        }
        QByteArray bytes;
        if (!ReadInput(parser.positionalArguments(), bytes)) {
            return SomeFailed;
        }
        return ExitCodeOf(PrintBody(parser, ofBytes(key, bytes, bytes)));
    };
}

bool IsEncryptedText(const QByteArray& base64)
{
    constexpr qsizetype blockSize = 16;
    const auto decoded = QByteArray::fromBase64Encoding(base64, QByteArray::AbortOnBase64DecodingErrors);
    return decoded && decoded.decoded.size() % blockSize == 0;
}

/// Returns the decrypted string without its padding.
QString DecryptText(const QString& key, const QString& text)
{
    QString plain = AES::decrypt(key, text);
    while (plain.endsWith(QChar(QChar::Null))) {
        plain.chop(1);
    }
    return plain;
}

int Gzip(const QCommandLineParser& parser)
{
    qint64 level = 6;
    if (!ReadNumber(parser, levelOption, 0, 9, level)) {
        return WrongUsage;
    }
    QByteArray bytes;
    if (!ReadInput(parser.positionalArguments(), bytes)) {
        return SomeFailed;
    }
    if (!QCompressor::gzipCompress(bytes, bytes, static_cast<int>(level))) {
        return Fail(u"the input cannot be compressed"_s);
    }
    return ExitCodeOf(PrintBody(parser, bytes));
}

/// Returns the rest of `input` after its first member, whose content is `output`. A member ends with the
/// checksum and the size of its content (RFC 1952).
QByteArray BehindMember(const QByteArray& input, const QByteArray& output)
{
    const auto crc = static_cast<quint32>(
        crc32_z(0, reinterpret_cast<const Bytef*>(output.constData()), static_cast<z_size_t>(output.size())));
    const quint32 trailer[] = {qToLittleEndian(crc), qToLittleEndian(static_cast<quint32>(output.size()))};
    constexpr qsizetype headerSize = 10;
    constexpr qsizetype trailerSize = sizeof trailer;
    qsizetype end =
        input.indexOf(QByteArray(reinterpret_cast<const char*>(trailer), trailerSize), headerSize) +
        trailerSize;
    // Skip zero bytes: archivers append them, and an empty member may have some before its trailer of zeros.
    while (end < input.size() && input.at(end) == '\0') {
        ++end;
    }
    return input.mid(end);
}

int Gunzip(const QCommandLineParser& parser)
{
    QByteArray input;
    if (!ReadInput(parser.positionalArguments(), input)) {
        return SomeFailed;
    }
    QByteArray output;
    bool isWhole = true;
    while (isWhole && !input.isEmpty()) {
        QByteArray member;
        isWhole = QCompressor::gzipDecompress(input, member);
        input = isWhole ? BehindMember(input, member) : input;
        output += member;
    }
    if (!PrintBody(parser, output)) {
        return SomeFailed;
    }
    return isWhole ? AllValid : Fail(u"the input is not gzip data, or is damaged or truncated"_s);
}

/// Returns whether `argument` is "-" or a pipe, which can be read only once and cannot be written.
bool IsStream(const QString& argument)
{
    return argument == "-"_L1 || (QFileInfo::exists(argument) && !QFileInfo(argument).isFile());
}

/// Returns the path of a file with the content of `argument`. Copies a stream to `copy`. On failure,
/// prints an error and returns an empty path.
QString ReadablePath(const QString& argument, QTemporaryFile& copy)
{
    QByteArray bytes;
    if (!ReadInput(argument, bytes)) {
        return {};
    }
    if (!IsStream(argument)) {
        return argument;
    }
    const bool isCopied = copy.open() && copy.write(bytes) == bytes.size() && copy.flush();
    return isCopied || Complain(u"cannot copy the input: "_s + copy.errorString()) ? copy.fileName()
                                                                                   : QString();
}

bool Load(JsonFile& file, const QString& argument)
{
    return (file.Load() && !file.Document().isNull()) ||
           Complain(u"%1 contains no JSON, or the key is wrong"_s.arg(argument));
}

int ShowJson(const QCommandLineParser& parser)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 1) {
        return FailUsage(u"one file is needed"_s);
    }
    QString key;
    QTemporaryFile copy;
    if (!ReadKey(parser, QString(), key)) {
        return WrongUsage;
    }
    const QString path = ReadablePath(arguments.at(0), copy);
    JsonFile file(path, key);
    if (path.isEmpty() || !Load(file, arguments.at(0))) {
        return SomeFailed;
    }
    PrintBytes(file.Document().toJson());
    return AllValid;
}

/// Returns `text` as a JSON value or, if it is not JSON, as a string.
QJsonValue ValueOf(const QString& text)
{
    // QJsonDocument reads only objects and arrays, so wrap the value in an array.
    const QJsonArray array = QJsonDocument::fromJson('[' + text.toUtf8() + ']').array();
    return array.size() == 1 ? array.at(0) : QJsonValue(text);
}

int SetJson(const QCommandLineParser& parser)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 3) {
        return FailUsage(u"a file, a name and a value are needed"_s);
    }
    const QString& argument = arguments.at(0);
    const bool isFilter = IsStream(argument);
    const bool isNew = !isFilter && !QFileInfo::exists(argument);
    QString key;
    QTemporaryFile copy;
    if (!ReadKey(parser, QString(), key)) {
        return WrongUsage;
    }
    const QString path = isNew ? argument : ReadablePath(argument, copy);
    JsonFile old(path, QJsonObject(), key);
    // Do not overwrite a file that cannot be parsed.
    if (path.isEmpty() || (!isNew && !Load(old, argument))) {
        return SomeFailed;
    }
    if (!old.Document().isObject()) {
        return Fail(u"%1 contains no JSON object"_s.arg(argument));
    }
    QJsonObject object = old.Object();
    object.insert(arguments.at(1), ValueOf(arguments.at(2)));
    if (!JsonFile(path, object, key).Save()) {
        return Fail(u"cannot write %1: %2"_s.arg(argument, TakeLibraryError()));
    }
    QByteArray result;
    return ExitCodeOf(!isFilter || (ReadInput(path, result) && PrintBody(parser, result)));
}

const CommandRegistration registration([] {
    return CommandList{
        {u"encrypt"_s, u"[TEXT...] | --raw [FILE]"_s, u"Encrypt strings to Base64, or a file to bytes."_s,
         Options{keyOption, keyFileOption, rawOption, forceOption},
         RunCipher([](const QByteArray&) { return true; }, AES::encrypt, AES::encrypt),
         keyDetails + u" If VXTOOL_KEY is not set, a key derived from the user's name is used. It only keeps "
                      "values from being read at a glance; see docs/text-tools.md."_s,
         u"vxtool encrypt --key-file secret.key hello"_s},
        {u"decrypt"_s, u"[BASE64...] | --raw [FILE]"_s, u"Decrypt strings or a file."_s,
         Options{keyOption, keyFileOption, rawOption, forceOption},
         RunCipher(IsEncryptedText, DecryptText, AES::decrypt),
         keyDetails + u" A wrong key is not detected and yields garbage. A decrypted file keeps "
                      "its padding of zero bytes."_s},
        {u"gzip"_s, u"[FILE]"_s, u"Compress a file to standard output."_s, Options{levelOption, forceOption},
         Gzip, QString(), u"vxtool gzip notes.txt > notes.txt.gz"_s},
        {u"gunzip"_s, u"[FILE]"_s, u"Decompress a file to standard output."_s, Options{forceOption}, Gunzip,
         u"All members of the file are decompressed."_s},
        {u"json show"_s, u"FILE"_s, u"Show a JSON file, plain or encrypted."_s,
         Options{keyOption, keyFileOption}, ShowJson, keyDetails},
        {u"json set"_s, u"FILE NAME VALUE"_s, u"Set a value in a JSON file."_s,
         Options{keyOption, keyFileOption, forceOption}, SetJson,
         u"VALUE is JSON or, failing that, a string. A missing file is created. If FILE is \"-\", "
         "the object is read from standard input and printed. "_s +
             keyDetails,
         u"vxtool json set settings.json volume 7 --key-file secret.key"_s},
    };
});

} // namespace

} // namespace vxtool
