#pragma once

#include <QElapsedTimer>
#include <QString>

namespace vxtool
{

/// A size for people, such as "12.3 MB", in powers of ten.
QString SizeText(qint64 bytes);

/// "1 item", "2 items".
QString ItemsText(qint64 items);

/**
 * Shows on standard error how far a transfer or another job is, with its rate and the time it still needs: a
 * bar that redraws itself on a terminal, otherwise a line now and then.
 */
class ProgressBar
{
public:
    using AmountText = QString (*)(qint64 amount);

    /// `amountText` tells how an amount is shown.
    explicit ProgressBar(AmountText amountText_ = SizeText);

    /// `total` is negative or 0 if it is not known.
    void Update(qint64 done, qint64 total);

    /// Shows the last state once more and leaves the line of the bar.
    void Finish();

private:
    void Draw();
    QString Text() const;

    AmountText amountText;
    int width; ///< Of the terminal; 0 if there is none.
    QElapsedTimer sinceStart;
    QElapsedTimer sinceDrawn;
    qint64 done = 0;
    qint64 total = 0;
};

} // namespace vxtool
