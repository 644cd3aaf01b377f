#pragma once

#include <common/vxcommon_export.h>

#include <QRegExp>
#include <QString>

namespace tools::sip
{

/// Defines the rules for SIP passwords: Latin and Cyrillic letters, digits and common punctuation.
/// Thread-safe.
class VXCOMMON_EXPORT Password
{
public:
    Password() = delete;

    /// Matches any number of allowed characters, including none; for input fields.
    static QRegExp PasswordSymbolRegExp();

    /// Returns whether `password` consists of 8 to 20 allowed characters.
    static bool IsGood(const QString& password);
};

} // namespace tools::sip
