#include "command.h"
#include "input.h"
#include "output.h"

#include <common/tools/aes.h>

namespace vxtool
{

namespace
{

using tools::cipher::AES;

const QString keyOption = QStringLiteral("key");
const QString rawOption = QStringLiteral("raw");

void AddOptions(QCommandLineParser& parser)
{
    parser.addOption({keyOption, QStringLiteral("Use the key K, up to 32 bytes, instead of the machine key."),
                      QStringLiteral("K")});
    parser.addOption({rawOption, QStringLiteral("Take the bytes of FILE or standard input, print bytes.")});
}

struct Cipher
{
    QString name;
    QString (*text)(const QString& key, const QString& text);
    QByteArray& (*bytes)(const QString& key, const QByteArray& input, QByteArray& output);
};

int Run(const QCommandLineParser& parser, const Cipher& cipher)
{
    const QString key = parser.isSet(keyOption) ? parser.value(keyOption) : AES::machineKey();
    // With a key that is not supported everything becomes zero bytes, which nobody wants to store.
    if (key.toUtf8().size() > AES::maxKeySize) {
        return FailUsage(QStringLiteral("the key is longer than %1 bytes").arg(AES::maxKeySize), cipher.name);
    }
    const QStringList arguments = parser.positionalArguments();
    if (!parser.isSet(rawOption)) {
        return ExitCodeOf(ForEachInput(arguments, [&](const QString& text) {
            PrintLine(cipher.text(key, text));
            return true;
        }));
    }
    if (arguments.size() > 1) {
        return FailUsage(QStringLiteral("one file at a time"), cipher.name);
    }
    QByteArray bytes;
    if (!ReadInput(arguments, bytes)) {
        return SomeFailed;
    }
    PrintBytes(cipher.bytes(key, bytes, bytes));
    return AllValid;
}

int Encrypt(const QCommandLineParser& parser)
{
    return Run(parser, {QStringLiteral("encrypt"), AES::encrypt, AES::encrypt});
}

/// The text without the padding.
QString DecryptText(const QString& key, const QString& text)
{
    QString plain = AES::decrypt(key, text);
    while (plain.endsWith(QChar(QChar::Null))) {
        plain.chop(1);
    }
    return plain;
}

int Decrypt(const QCommandLineParser& parser)
{
    return Run(parser, {QStringLiteral("decrypt"), DecryptText, AES::decrypt});
}

const CommandRegistration registration{
    {QStringLiteral("encrypt"), QStringLiteral("[TEXT...] | --raw [FILE]"),
     QStringLiteral("Encipher texts to Base64, or a file to bytes."), AddOptions, Encrypt},
    {QStringLiteral("decrypt"), QStringLiteral("[BASE64...] | --raw [FILE]"),
     QStringLiteral("Decipher texts, or a file with its padding of zero bytes left on."), AddOptions,
     Decrypt},
};

} // namespace

} // namespace vxtool
