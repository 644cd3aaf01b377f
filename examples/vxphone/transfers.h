#pragma once

#include <QElapsedTimer>
#include <QFrame>
#include <QNetworkAccessManager>
#include <QThread>
#include <QUrl>

class QProgressBar;
class QPushButton;
class QVBoxLayout;

namespace vxphone
{

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

    void Begin(const QString& text);
    void ShowProgress(qint64 current, qint64 total, const QString& text); ///< An unknown total is -1.
    void Succeed(const QString& text, const QString& details = QString());
    void Fail(const QString& text, const QString& details);

    Line* status;

private:
    void End(bool whole);

    QProgressBar* bar;
    QPushButton* cancel;
    QPushButton* retry;
    QPushButton* show;
    QPushButton* dismiss;
    QString target;
    bool running = false;
};

/// The transfers. Visible while there is one.
class TransferPanel : public QWidget
{
    Q_OBJECT

public:
    /// Files are written below `directory`.
    explicit TransferPanel(const QString& directory);
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
    bool IsRunning() const;

    QString directory;
    QVBoxLayout* cards;
    QNetworkAccessManager network;
    QThread copyThread; ///< Where copiers live: to abort one is to wait for its current file.
};

} // namespace vxphone
