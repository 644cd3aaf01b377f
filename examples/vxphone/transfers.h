#pragma once

#include <QObject>

class QGridLayout;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;

namespace vxphone
{

/// Two lines of a grid: a field for what to transfer and a button that starts and aborts it; below, how far
/// it is.
class TransferRow : public QObject
{
    Q_OBJECT

public:
    bool IsRunning() const { return running; }
    virtual void Abort() = 0; ///< Leads to `ended`, now or later.

Q_SIGNALS:
    void ended(); ///< By itself or by Abort.

protected:
    struct Labels
    {
        QString title;
        QString hint;
        QString start;
        QString abort;
        QString status;
    };

    TransferRow(QGridLayout* grid, const Labels& labels);

    virtual void Start(const QString& text) = 0; ///< Begins, or tells why it does not.

    void Begin(const QString& text);
    void ShowProgress(qint64 current, qint64 total, const QString& text); ///< An unknown total is -1.
    void End(bool whole, const QString& text);

    QLabel* status;

private:
    QLineEdit* field;
    QPushButton* button;
    QProgressBar* bar;
    QString startLabel;
    QString abortLabel;
    bool running = false;
};

/// Downloads a file into `folder`. It gets its name when it is there whole; until then an older one stays.
TransferRow* CreateDownloadRow(QGridLayout* grid, const QString& folder);

/// Copies a folder with all that is in it into `folder`. When aborted it ends after the file at hand.
TransferRow* CreateCopyRow(QGridLayout* grid, const QString& folder);

} // namespace vxphone
