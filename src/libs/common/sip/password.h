#pragma once

#include <common/vxcommon_export.h>

#include <QRegExp>
#include <QString>

namespace tools::sip
{

/// The rules for SIP passwords: Latin and Cyrillic letters, digits and common punctuation. Any thread may
/// call.
class VXCOMMON_EXPORT Password
{
public:
    Password() = delete;

    /// Any number of allowed characters, none included; for checking while the user types.
    static QRegExp PasswordSymbolRegExp();

    /// Whether `password` is 8 to 20 allowed characters.
    static bool IsGood(const QString& password);
};

} // namespace tools::sip
