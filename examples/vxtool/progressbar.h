#pragma once

#include <QElapsedTimer>
#include <QString>

namespace vxtool
{

/// Returns a readable size, such as "12.3 MB", in powers of ten.
QString SizeText(qint64 bytes);

/// Returns "1 item" or "2 items".
QString ItemsText(qint64 items);

/**
 * Shows progress, rate and time left of a job on standard error: on a terminal a bar that redraws itself,
 * otherwise at most one line per second. Shows nothing with --quiet.
 */
class ProgressBar
{
public:
    using AmountText = QString (*)(qint64 amount);

    /// `amountText_` formats an amount.
    explicit ProgressBar(AmountText amountText_ = SizeText);

    /// `total_` is 0 or negative if it is not known.
    void Update(qint64 done_, qint64 total_);

    /// Shows the last state again, if there was any, and moves to the next line.
    void Finish();

private:
    void Draw();
    QString Text() const;

    AmountText amountText;
    int width; ///< Columns of the terminal; 0 if there is none.
    QElapsedTimer sinceStart;
    QElapsedTimer sinceDrawn;
    qint64 done = 0;
    qint64 total = 0;
};

} // namespace vxtool
