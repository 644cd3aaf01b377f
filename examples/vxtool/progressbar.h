#pragma once

#include <QElapsedTimer>
#include <QString>

namespace vxtool
{

/// Returns a size with a decimal unit, such as "12.3 MB".
QString SizeText(qint64 bytes);

/// Returns "1 item" or "2 items".
QString ItemsText(qint64 items);

/**
 * Shows the progress, rate and remaining time of a job on standard error. On a terminal, redraws a bar;
 * otherwise prints at most one line per second. Prints nothing with --quiet.
 */
class ProgressBar
{
public:
    using AmountText = QString (*)(qint64 amount);

    /// `amountText_` formats an amount.
    explicit ProgressBar(AmountText amountText_ = SizeText);

    /// `total_` is 0 or negative if the total is unknown.
    void Update(qint64 done_, qint64 total_);

    /// Shows the final state, if there was any progress, and moves to the next line.
    void Finish();

private:
    void Draw();
    QString Text() const;

    AmountText amountText;
    int width; ///< Width of the terminal in columns; 0 if there is none.
    QElapsedTimer sinceStart;
    QElapsedTimer sinceDrawn;
    qint64 done = 0;
    qint64 total = 0;
};

} // namespace vxtool
