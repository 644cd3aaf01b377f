#pragma once

#include <common/vxcommon_export.h>

#include <QRegExp>
#include <QString>
#include <QValidator>

/**
 * Checks the whole input against a QRegExp: acceptable if it matches, intermediate if it could be the
 * beginning of a match, invalid otherwise.
 */
class VXCOMMON_EXPORT QRegExpValidator : public QValidator
{
    Q_OBJECT
    /// The pattern. @see setRegExp
    Q_PROPERTY(QRegExp regExp READ regExp WRITE setRegExp NOTIFY regExpChanged)

public:
    explicit QRegExpValidator(QObject* parent = nullptr); ///< Accepts everything.
    /// Checks against `regExp`.
    explicit QRegExpValidator(const QRegExp& regExp, QObject* parent = nullptr);
    ~QRegExpValidator() override;

    const QRegExp& regExp() const { return pattern; } ///< Returns the pattern.
    /// Sets the pattern. Emits regExpChanged and then changed, unless the pattern is the same.
    void setRegExp(const QRegExp& regExp);

    /// Checks `input`. Moves `pos` to the end of an invalid input.
    State validate(QString& input, int& pos) const override;

Q_SIGNALS:
    /// Emitted when a different pattern has been set.
    void regExpChanged(const QRegExp& regExp);

private:
    Q_DISABLE_COPY(QRegExpValidator)

    QRegExp pattern;
};
