#include <common/tools/stringconverter.h>

#include <QCryptographicHash>

namespace tools::string
{

QString converter::ToHex(const QString& text)
{
    return QString::fromLatin1(text.toUtf8().toHex());
}

QString converter::ToMD5(const QByteArray& data)
{
    return QString::fromLatin1(QCryptographicHash::hash(data, QCryptographicHash::Md5).toHex());
}

QString converter::ToMD5(const QString& text)
{
    return ToMD5(text.toUtf8());
}

QString converter::ToUuidForm(const QString& text, unsigned int group)
{
    const QString digits = ToHex(text);
    QString result;
    result.reserve(2 * digits.size() + 2);
    result += u'{';
    qsizetype position = 0;
    if (group > 0) {
        // Kept for compatibility: the opening brace counts as one of the remaining digits.
        while (digits.size() - position + 1 >= 2 * qsizetype{group}) {
            result += QStringView(digits).mid(position, group);
            result += u'-';
            position += group;
        }
    }
    result += QStringView(digits).mid(position);
    result += u'}';
    return result;
}

} // namespace tools::string
