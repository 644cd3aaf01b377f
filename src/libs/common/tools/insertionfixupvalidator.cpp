#include <common/tools/insertionfixupvalidator.h>

namespace tools
{

CInsertionFixupValidator::CInsertionFixupValidator(QObject* parent)
    : QRegExpValidator(parent)
{}

CInsertionFixupValidator::CInsertionFixupValidator(const QRegExp& regExp, QObject* parent)
    : QRegExpValidator(regExp, parent)
{}

CInsertionFixupValidator::~CInsertionFixupValidator() = default;

QValidator::State CInsertionFixupValidator::validate(QString& input, int& pos) const
{
    fixup(input);
    return QRegExpValidator::validate(input, pos);
}

// After a failed match, matchedLength is the length of the longest prefix that can be the start of a match.
void CInsertionFixupValidator::fixup(QString& input) const
{
    const QRegExp& held = regExp();
    while (!held.exactMatch(input) && !input.isEmpty() && held.matchedLength() != input.size()) {
        input.remove(held.matchedLength(), 1);
    }
}

} // namespace tools
