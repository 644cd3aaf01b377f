#pragma once

#include <common/vxcommon_export.h>

#include <QByteArray>
#include <QString>

namespace tools::cipher
{

/**
 * Enciphers small values for storage on the user's machine: AES in CBC mode through OpenSSL's low-level
 * calls.
 *
 * It keeps values from being read at a glance and no more: the initialisation vector is always the same,
 * nothing tells damage or a wrong key, and the machine key is made of the user's name.
 *
 * The key is the UTF-8 form of a text, used as it is: up to 16 bytes make AES-128, up to 24 AES-192, up to 32
 * AES-256, each filled up with zero bytes. A longer key is not supported; the output then has its size but is
 * all zero bytes. The functions without a key use the machine key.
 *
 * Input is filled up with zero bytes to whole blocks of 16. They are not removed on decryption: bytes end in
 * zero bytes, texts in U+0000 characters.
 *
 * The byte forms return `output`, which may be the same object as `input`. Any thread may call.
 */
class VXCOMMON_EXPORT AES
{
public:
    AES() = delete;

    static constexpr int maxKeySize = 32; ///< In bytes of UTF-8.

    /// Enciphers the UTF-8 form of `text`; the result is Base64 (RFC 4648). An empty text stays empty.
    static QString encrypt(const QString& key, const QString& text);
    static QString encrypt(const QString& text); ///< As above, with the machine key.
    /// Enciphers bytes into bytes.
    static QByteArray& encrypt(const QString& key, const QByteArray& input, QByteArray& output);
    /// As above, with the machine key.
    static QByteArray& encrypt(const QByteArray& input, QByteArray& output);

    /// Deciphers Base64 to text. What is damaged or was made with another key gives garbage, never an error.
    static QString decrypt(const QString& key, const QString& text);
    static QString decrypt(const QString& text); ///< As above, with the machine key.
    /// A last block that is not whole is deciphered as if zero bytes stood behind it, to as many bytes as it
    /// has.
    static QByteArray& decrypt(const QString& key, const QByteArray& input, QByteArray& output);
    /// As above, with the machine key.
    static QByteArray& decrypt(const QByteArray& input, QByteArray& output);

    /// Enciphers `value` together with `name` under the machine key, so that it can only be read under this
    /// name.
    static QString encryptPair(const QString& name, const QString& value);

    /// What encryptPair enciphered, with the padding behind it, or an empty text if `name` (case matters) or
    /// the user is another.
    static QString decryptPair(const QString& name, const QString& text);

    /// The key of 32 characters made of the name of the logged-in user, as the environment tells it now.
    static QString machineKey();

private:
    static QByteArray& crypt(const QString& key, const QByteArray& input, QByteArray& output, int mode);
    static int getKeyBuffer(const QString& key, QByteArray& buffer);
    static QByteArray ivec();
    static QString machineUser();
};

} // namespace tools::cipher
