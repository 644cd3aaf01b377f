#pragma once

#include <common/tools/qregexpvalidator.h>

namespace tools
{

/**
 * A validator that cleans the input: from left to right, it removes each character that the pattern does not
 * allow at its position. Users cannot type forbidden characters, and pasted text loses only these.
 *
 * Each removal requires a new match from the start of the input. Pasting 10,000 forbidden characters can
 * block the user interface for half a second, so limit the field with QLineEdit::setMaxLength.
 */
class VXCOMMON_EXPORT CInsertionFixupValidator : public QRegExpValidator
{
    Q_OBJECT

public:
    explicit CInsertionFixupValidator(QObject* parent = nullptr);
    explicit CInsertionFixupValidator(const QRegExp& regExp, QObject* parent = nullptr);
    ~CInsertionFixupValidator() override;

    /// Calls fixup on `input` and then checks the result.
    State validate(QString& input, int& pos) const override;

    /// Removes the characters that the pattern does not allow.
    void fixup(QString& input) const override;
};

} // namespace tools
