#pragma once

#include <QDir>
#include <QThread>
#include <QUrl>
#include <QWidget>

class QVBoxLayout;

class TransferCard;

/// The transfers. Visible while there is one.
class TransferPanel : public QWidget
{
    Q_OBJECT

public:
    /// Files are written below `directory`.
    explicit TransferPanel(const QDir& directory);
    ~TransferPanel() override;

    /// Downloads a file. It gets its name when it is complete; until then an older one stays.
    void Download(const QUrl& url);
    /// Copies a directory with everything in it. If cancelled, it ends after the current file.
    void Copy(const QString& source);
    /// Cancels what needs time to end. Returns false, and emits `idle` later, if something does.
    bool Stop();
    bool IsRunning() const;

Q_SIGNALS:
    void idle(); ///< No transfer is running any more.

private:
    void Add(TransferCard* card);
    QList<TransferCard*> Cards() const; ///< The oldest first.

    QDir directory;
    QVBoxLayout* cards;
    QThread copyThread; ///< Where copiers live: to abort one is to wait for its current file.
};
