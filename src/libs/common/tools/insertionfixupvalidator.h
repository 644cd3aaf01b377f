#pragma once

#include <common/tools/qregexpvalidator.h>

namespace tools
{

/**
 * A validator that cleans the text as it checks it: characters that the pattern does not allow where they
 * stand vanish, from the left, and what fits stays in order. So forbidden characters cannot be typed, and a
 * pasted text loses only these.
 */
class VXCOMMON_EXPORT CInsertionFixupValidator : public QRegExpValidator
{
    Q_OBJECT

public:
    explicit CInsertionFixupValidator(QObject* parent = nullptr);
    explicit CInsertionFixupValidator(const QRegExp& regExp, QObject* parent = nullptr);
    ~CInsertionFixupValidator() override;

    /// Runs fixup on `input`, always, and then checks it.
    State validate(QString& input, int& pos) const override;

    /**
     * Removes what does not fit. A match takes time in proportion to its text, and one is needed for nearly
     * every character that the pattern knows but does not allow where it stands; others cost nothing.
     */
    void fixup(QString& input) const override;
};

} // namespace tools
