#pragma once

#include <common/tools/qregexpvalidator.h>

namespace tools
{

/**
 * A validator that cleans the input as it checks it: it removes each character that the pattern does not
 * allow at its position, from the left, and keeps the rest in order. So users cannot type forbidden
 * characters, and pasted text loses only these.
 *
 * Each removed character costs a match from the start of the input: a paste with 10,000 of them can block the
 * interface for half a second. Limit the field with QLineEdit::setMaxLength.
 */
class VXCOMMON_EXPORT CInsertionFixupValidator : public QRegExpValidator
{
    Q_OBJECT

public:
    explicit CInsertionFixupValidator(QObject* parent = nullptr);
    explicit CInsertionFixupValidator(const QRegExp& regExp, QObject* parent = nullptr);
    ~CInsertionFixupValidator() override;

    /// Always calls fixup on `input`, and then checks it.
    State validate(QString& input, int& pos) const override;

    /// Removes what does not fit.
    void fixup(QString& input) const override;
};

} // namespace tools
