#include <common/sip/password.h>

namespace tools::sip
{

// In the patterns, "а-я" is the Cyrillic range U+0430 to U+044F.

QRegExp Password::PasswordSymbolRegExp()
{
    return QRegExp(QStringLiteral(uR"re(^([-a-zа-я0-9!@#$%^&*()_+=;:,./?\\|`~\[\]{}]*)$)re"),
                   Qt::CaseInsensitive);
}

bool Password::IsGood(const QString& password)
{
    const QRegExp pattern(QStringLiteral(uR"re(^([-a-zа-я0-9!@#$%^&*()_+=;:,./?\\|`~\[\]{}]{8,20})$)re"),
                          Qt::CaseInsensitive);
    return pattern.exactMatch(password);
}

} // namespace tools::sip
