#pragma once

#include <QDir>
#include <QFrame>
#include <QThread>
#include <QUrl>

class QProgressBar;
class QPushButton;
class QVBoxLayout;

class Line;

/// A transfer: its name, how far it is, and what can be done about it.
class TransferCard : public QFrame
{
    Q_OBJECT

public:
    const QString& Target() const { return target; } ///< The file or directory to write.
    bool IsRunning() const { return running; }
    virtual void Start() = 0;  ///< Begins, also again after a failure.
    virtual void Cancel() = 0; ///< Leads to `ended`, now or later.

Q_SIGNALS:
    void ended();

protected:
    TransferCard(const QString& target, const QIcon& icon);

    void ShowProgress(const QString& text, qint64 current = 0, qint64 total = -1); ///< -1 is unknown.
    void End(bool succeeded_, const QString& text, const QString& details = QString());

private:
    void ShowButtons();

    Line* status;
    QProgressBar* bar;
    QPushButton* again;
    QPushButton* close;
    QString target;
    bool running = false;
    bool succeeded = false;
};

/// The transfers. Visible while there is one.
class TransferPanel : public QWidget
{
    Q_OBJECT

public:
    /// Files are written below `directory`.
    explicit TransferPanel(const QDir& directory);
    ~TransferPanel() override;

    /// Downloads a file. It gets its name when it is complete; until then an older one stays.
    TransferCard* Download(const QUrl& url);
    /// Copies a directory with everything in it. If cancelled, it ends after the current file.
    TransferCard* Copy(const QString& source);
    /// Cancels what needs time to end. Returns false, and emits `idle` later, if something does.
    bool Stop();

Q_SIGNALS:
    void idle(); ///< No transfer is running any more.

private:
    TransferCard* Add(TransferCard* card);
    QList<TransferCard*> Cards() const; ///< The oldest first.
    bool IsRunning() const;

    QDir directory;
    QVBoxLayout* cards;
    QThread copyThread; ///< Where copiers live: to abort one is to wait for its current file.
};
