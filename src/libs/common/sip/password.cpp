#include <common/sip/password.h>

namespace tools::sip
{

namespace
{

// "а-я" is the Cyrillic range U+0430 to U+044F.
constexpr char16_t alphabet[] = uR"([-a-zа-я0-9!@#$%^&*()_+=;:,./?\\|`~\[\]{}])";

QRegExp Pattern(const QString& quantifier)
{
    const QString text = QStringLiteral("^(%1%2)$").arg(QString::fromUtf16(alphabet), quantifier);
    return QRegExp(text, Qt::CaseInsensitive, QRegExp::RegExp);
}

} // namespace

QRegExp Password::PasswordSymbolRegExp()
{
    return Pattern(QStringLiteral("*"));
}

bool Password::IsGood(const QString& password)
{
    return Pattern(QStringLiteral("{8,20}")).exactMatch(password);
}

} // namespace tools::sip
