#include <common/sip/password.h>

namespace tools::sip
{

namespace
{

QRegExp Pattern(const char16_t* text)
{
    return QRegExp(QString::fromUtf16(text), Qt::CaseInsensitive, QRegExp::RegExp);
}

} // namespace

// In the patterns, "а-я" is the Cyrillic range U+0430 to U+044F.

QRegExp Password::PasswordSymbolRegExp()
{
    return Pattern(uR"re(^([-a-zа-я0-9!@#$%^&*()_+=;:,./?\\|`~\[\]{}]*)$)re");
}

bool Password::IsGood(const QString& password)
{
    return Pattern(uR"re(^([-a-zа-я0-9!@#$%^&*()_+=;:,./?\\|`~\[\]{}]{8,20})$)re").exactMatch(password);
}

} // namespace tools::sip
