#pragma once

#include <common/vxcommon_export.h>

#include <QByteArray>
#include <QString>

namespace tools::cipher
{

/**
 * Encrypts small values for storage on the user's machine, with AES in CBC mode through OpenSSL's low-level
 * calls. Any thread may call.
 *
 * The key is the UTF-8 form of a string, padded with zero bytes: up to 16 bytes give AES-128, up to 24
 * AES-192, up to 32 AES-256. A longer key is not supported: the output then consists of zero bytes. The
 * functions without a key use the machine key.
 *
 * The input is padded with zero bytes to whole blocks of 16. Decryption does not remove them: bytes end with
 * zero bytes, strings with U+0000 characters.
 *
 * The byte forms return `output`, which can be the same object as `input`.
 *
 * @warning This does not protect secrets. The initialisation vector is fixed, damage and a wrong key are not
 * detected, and the machine key is derived from the user's name.
 */
class VXCOMMON_EXPORT AES
{
public:
    AES() = delete;

    static constexpr int maxKeySize = 32; ///< In bytes of UTF-8.

    /// Encrypts the UTF-8 form of `text`. Returns Base64 (RFC 4648), or nothing for an empty string.
    static QString encrypt(const QString& key, const QString& text);
    static QString encrypt(const QString& text); ///< As above, with the machine key.
    /// Encrypts bytes.
    static QByteArray& encrypt(const QString& key, const QByteArray& input, QByteArray& output);
    /// As above, with the machine key.
    static QByteArray& encrypt(const QByteArray& input, QByteArray& output);

    /// Decrypts Base64. Damaged input or a wrong key gives garbage, not an error.
    static QString decrypt(const QString& key, const QString& text);
    static QString decrypt(const QString& text); ///< As above, with the machine key.
    /// Decrypts bytes. An incomplete last block is decrypted as if zero bytes followed it, and as many bytes
    /// of the result as it has are kept.
    static QByteArray& decrypt(const QString& key, const QByteArray& input, QByteArray& output);
    /// As above, with the machine key.
    static QByteArray& decrypt(const QByteArray& input, QByteArray& output);

    /// Encrypts `value` together with `name` with the machine key, so that it can be decrypted only with this
    /// name.
    static QString encryptPair(const QString& name, const QString& value);

    /// Returns a value encrypted with encryptPair, including its padding, or an empty string for another name
    /// (case-sensitive) or user.
    static QString decryptPair(const QString& name, const QString& text);

    /// Returns the key of 32 characters derived from the user's name in the environment.
    static QString machineKey();

private:
    static QByteArray& crypt(const QString& key, const QByteArray& input, QByteArray& output, int mode);
    static int getKeyBuffer(const QString& key, QByteArray& buffer);
    static QByteArray ivec();
    static QString machineUser();
};

} // namespace tools::cipher
