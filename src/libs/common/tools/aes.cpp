#include <common/tools/aes.h>

#include "deployment.h"

#include <QProcess>
#include <QStringList>

#include <array>
#include <cstddef>
#include <cstring>

// This class deliberately uses OpenSSL's low-level calls, which OpenSSL 3 marks as deprecated.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/aes.h>

namespace tools::cipher
{

namespace
{

constexpr qsizetype blockSize = AES_BLOCK_SIZE;

qsizetype RoundUpToBlocks(qsizetype size)
{
    return (size + blockSize - 1) / blockSize * blockSize;
}

/// Returns `input`, padded with zero bytes to whole blocks.
QByteArray Padded(const QByteArray& input)
{
    return input.leftJustified(RoundUpToBlocks(input.size()), '\0');
}

const unsigned char* Bytes(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

} // namespace

QString AES::encrypt(const QString& key, const QString& text)
{
    QByteArray output;
    return QString::fromLatin1(encrypt(key, text.toUtf8(), output).toBase64());
}

QString AES::encrypt(const QString& text)
{
    return encrypt(machineKey(), text);
}

QByteArray& AES::encrypt(const QString& key, const QByteArray& input, QByteArray& output)
{
    return crypt(key, Padded(input), output, AES_ENCRYPT);
}

QByteArray& AES::encrypt(const QByteArray& input, QByteArray& output)
{
    return encrypt(machineKey(), input, output);
}

QString AES::decrypt(const QString& key, const QString& text)
{
    QByteArray output;
    return QString::fromUtf8(decrypt(key, QByteArray::fromBase64(text.toUtf8()), output));
}

QString AES::decrypt(const QString& text)
{
    return decrypt(machineKey(), text);
}

QByteArray& AES::decrypt(const QString& key, const QByteArray& input, QByteArray& output)
{
    return crypt(key, input, output, AES_DECRYPT);
}

QByteArray& AES::decrypt(const QByteArray& input, QByteArray& output)
{
    return decrypt(machineKey(), input, output);
}

QString AES::encryptPair(const QString& name, const QString& value)
{
    return encrypt(name + u'=' + value);
}

QString AES::decryptPair(const QString& name, const QString& text)
{
    const QString plain = decrypt(text);
    const QString prefix = name + u'=';
    return plain.startsWith(prefix) ? plain.mid(prefix.size()) : QString();
}

QString AES::machineKey()
{
    QByteArray user = machineUser().toUtf8();
    if (user.isEmpty()) {
        user = common::deployment::machineKeyDefaultUser;
    }
    QByteArray key = common::deployment::machineKeyBase;
    for (qsizetype i = 0; i < key.size(); ++i) {
        key[i] = static_cast<char>(key.at(i) ^ user.at(i % user.size()));
    }
    return QString::fromLatin1(key.toBase64()).left(maxKeySize);
}

QByteArray& AES::crypt(const QString& key, const QByteArray& input, QByteArray& output, int mode)
{
    QByteArray result(RoundUpToBlocks(input.size()), '\0');
    QByteArray keyBuffer;
    const int bits = getKeyBuffer(key, keyBuffer);
    AES_KEY schedule;
    const int failure = mode == AES_ENCRYPT ? AES_set_encrypt_key(Bytes(keyBuffer), bits, &schedule)
                                            : AES_set_decrypt_key(Bytes(keyBuffer), bits, &schedule);
    // If AES does not support the key size, OpenSSL does not set the schedule.
    if (failure == 0) {
        std::array<unsigned char, blockSize> iv;
        std::memcpy(iv.data(), ivec().constData(), iv.size());
        // OpenSSL reads a complete last block even if it writes only part of that block.
        AES_cbc_encrypt(Bytes(Padded(input)), reinterpret_cast<unsigned char*>(result.data()),
                        static_cast<std::size_t>(input.size()), &schedule, iv.data(), mode);
    }
    output.swap(result);
    return output;
}

int AES::getKeyBuffer(const QString& key, QByteArray& buffer)
{
    buffer = key.toUtf8();
    int bits = 512; // Not an AES key size, so OpenSSL rejects it.
    for (const int size : {256, 192, 128}) {
        if (buffer.size() <= size / 8) {
            bits = size;
        }
    }
    buffer = buffer.leftJustified(bits / 8, '\0');
    return bits;
}

QByteArray AES::ivec()
{
    return common::deployment::cipherIv;
}

QString AES::machineUser()
{
    const QStringList environment = QProcess::systemEnvironment();
    for (const QString& entry : environment) {
        if (entry.startsWith(QLatin1String("USER="), Qt::CaseInsensitive) ||
            entry.startsWith(QLatin1String("USERNAME="), Qt::CaseInsensitive)) {
            return entry.mid(entry.indexOf(u'=') + 1);
        }
    }
    return {};
}

} // namespace tools::cipher
