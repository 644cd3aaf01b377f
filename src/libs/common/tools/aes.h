#pragma once

#include <common/vxcommon_export.h>

#include <QByteArray>
#include <QString>

namespace tools::cipher
{

/**
 * Encrypts small values for storage on the user's machine, with AES in CBC mode through OpenSSL's low-level
 * calls. Thread-safe.
 *
 * The key is the UTF-8 form of a string, padded with zero bytes: up to 16 bytes give AES-128, up to 24
 * AES-192, up to 32 AES-256. A longer key is not supported: the output then consists of zero bytes.
 * Functions without a key parameter use the machine key.
 *
 * The input is padded with zero bytes to whole blocks of 16 bytes. Decryption does not remove the padding:
 * byte arrays end with zero bytes, strings with U+0000 characters.
 *
 * The overloads for byte arrays return `output`, which can be the same object as `input`.
 *
 * @warning This does not protect secrets. The initialisation vector is fixed, damage and a wrong key are not
 * detected, and the machine key is derived from the user's name.
 */
class VXCOMMON_EXPORT AES
{
public:
    AES() = delete;

    static constexpr int maxKeySize = 32; ///< In bytes of UTF-8.

    /// Encrypts the UTF-8 form of `text`. Returns Base64 (RFC 4648); empty if `text` is empty.
    static QString encrypt(const QString& key, const QString& text);
    static QString encrypt(const QString& text); ///< As above, with the machine key.
    /// Encrypts bytes.
    static QByteArray& encrypt(const QString& key, const QByteArray& input, QByteArray& output);
    /// As above, with the machine key.
    static QByteArray& encrypt(const QByteArray& input, QByteArray& output);

    /// Decrypts a Base64 string. Damaged input or a wrong key gives garbage, not an error.
    static QString decrypt(const QString& key, const QString& text);
    static QString decrypt(const QString& text); ///< As above, with the machine key.
    /// Decrypts bytes. An incomplete last block of n bytes is padded with zero bytes before decryption. Only
    /// the first n bytes of its plain text are kept; the rest of the block is filled with zero bytes.
    static QByteArray& decrypt(const QString& key, const QByteArray& input, QByteArray& output);
    /// As above, with the machine key.
    static QByteArray& decrypt(const QByteArray& input, QByteArray& output);

    /// Encrypts `name` and `value` with the machine key; decryptPair requires the same name.
    static QString encryptPair(const QString& name, const QString& value);

    /// Decrypts the result of encryptPair. Returns the value, including its padding, or an empty string if
    /// the name (case-sensitive) or the user differs.
    static QString decryptPair(const QString& name, const QString& text);

    /// Returns the 32-character key derived from the user name in the environment.
    static QString machineKey();

private:
    static QByteArray& crypt(const QString& key, const QByteArray& input, QByteArray& output, int mode);
    static int getKeyBuffer(const QString& key, QByteArray& buffer);
    static QByteArray ivec();
    static QString machineUser();
};

} // namespace tools::cipher
