#pragma once

#include <QElapsedTimer>
#include <QString>

namespace vxtool
{

/// A size for people, such as "12.3 MB", in powers of ten.
QString SizeText(qint64 bytes);

/**
 * Shows on standard error how far a transfer is, with its rate and the time it still needs: a bar that
 * redraws itself on a terminal, otherwise a line now and then.
 */
class ProgressBar
{
public:
    ProgressBar();

    /// `total` is negative or 0 if it is not known.
    void Update(qint64 done, qint64 total);

    /// Shows the last state once more and leaves the line of the bar.
    void Finish();

private:
    void Draw();
    QString Text() const;

    int width; ///< Of the terminal; 0 if there is none.
    QElapsedTimer sinceStart;
    QElapsedTimer sinceDrawn;
    qint64 done = 0;
    qint64 total = 0;
};

} // namespace vxtool
