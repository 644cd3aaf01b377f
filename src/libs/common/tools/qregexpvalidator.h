#pragma once

#include <common/vxcommon_export.h>

#include <QRegExp>
#include <QString>
#include <QValidator>

/**
 * Checks input against a QRegExp as a whole: acceptable if it matches, intermediate if it could be the
 * beginning of a match, invalid otherwise.
 */
class VXCOMMON_EXPORT QRegExpValidator : public QValidator
{
    Q_OBJECT
    Q_PROPERTY(QRegExp regExp READ regExp WRITE setRegExp NOTIFY regExpChanged)

public:
    explicit QRegExpValidator(QObject* parent = nullptr); ///< Accepts everything.
    explicit QRegExpValidator(const QRegExp& regExp, QObject* parent = nullptr);
    ~QRegExpValidator() override;

    const QRegExp& regExp() const { return pattern; }
    /// Emits regExpChanged and then changed, unless the pattern stays the same.
    void setRegExp(const QRegExp& regExp);

    /// Moves `pos` to the end of an invalid `input`.
    State validate(QString& input, int& pos) const override;

Q_SIGNALS:
    void regExpChanged(const QRegExp& regExp);

private:
    Q_DISABLE_COPY(QRegExpValidator)

    QRegExp pattern;
};
