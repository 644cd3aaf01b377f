#include <common/tools/qregexpvalidator.h>

namespace
{

/// Returns an equal QRegExp without match data. A copy would keep a pointer to the last match of its source,
/// even after the source is destroyed.
QRegExp WithoutMatch(const QRegExp& regExp)
{
    QRegExp fresh(regExp.pattern(), regExp.caseSensitivity(), regExp.patternSyntax());
    fresh.setMinimal(regExp.isMinimal());
    return fresh;
}

} // namespace

QRegExpValidator::QRegExpValidator(QObject* parent)
    : QRegExpValidator(QRegExp(QStringLiteral(".*"), Qt::CaseSensitive, QRegExp::RegExp), parent)
{}

QRegExpValidator::QRegExpValidator(const QRegExp& regExp, QObject* parent)
    : QValidator(parent)
    , pattern(WithoutMatch(regExp))
{}

QRegExpValidator::~QRegExpValidator() = default;

void QRegExpValidator::setRegExp(const QRegExp& regExp)
{
    if (pattern == regExp) {
        return;
    }
    pattern = WithoutMatch(regExp);
    Q_EMIT regExpChanged(pattern);
    Q_EMIT changed();
}

QValidator::State QRegExpValidator::validate(QString& input, int& pos) const
{
    // exactMatch changes the last match that a QRegExp stores, so use a copy.
    const QRegExp copy = pattern;
    if (copy.exactMatch(input)) {
        return Acceptable;
    }
    if (copy.matchedLength() == input.size()) {
        return Intermediate;
    }
    pos = static_cast<int>(input.size());
    return Invalid;
}
