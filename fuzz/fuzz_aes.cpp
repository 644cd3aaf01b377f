// Encrypts and decrypts arbitrary bytes with arbitrary keys.

#include "fuzztarget.h"

#include <common/tools/aes.h>

using tools::cipher::AES;

void RunInput(const QByteArray& input)
{
    const qsizetype keySize = input.isEmpty() ? 0 : static_cast<unsigned char>(input.front()) % 40;
    const QString key = QString::fromLatin1(input.mid(1, keySize));
    const QByteArray plain = input.mid(1 + keySize);

    QByteArray cipher;
    QByteArray output;
    AES::encrypt(key, plain, cipher);
    Require(cipher.size() % 16 == 0 && cipher.size() - plain.size() < 16 && cipher.size() >= plain.size(),
            "whole blocks and no more");
    AES::decrypt(key, cipher, output);
    if (key.toUtf8().size() <= 32) {
        Require(output == plain + QByteArray(cipher.size() - plain.size(), '\0'),
                "deciphering gives the input");
    } else {
        Require(output.count('\0') == output.size(), "a key too long gives zero bytes");
    }
    AES::decrypt(key, plain, output);
    AES::decrypt(key, QString::fromUtf8(plain));
    AES::decryptPair(key, QString::fromUtf8(plain));
}
