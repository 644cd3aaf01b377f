#pragma once

#include <QDir>
#include <QNetworkAccessManager>
#include <QThread>
#include <QUrl>
#include <QWidget>

#include <functional>

class TransferCard;

/// The list of transfers; hidden if it is empty.
class TransferPanel : public QWidget
{
    Q_OBJECT

public:
    /// Writes files below `directory`.
    explicit TransferPanel(const QDir& directory);
    ~TransferPanel() override;

    /// Downloads a file under a temporary name. Replaces an existing file only when the download is complete.
    void Download(const QUrl& url);
    /// Copies a directory and its contents. If cancelled, stops after the current file.
    void Copy(const QString& source);
    /// Cancels all transfers. Returns whether all transfers have ended.
    bool Stop();
    bool IsRunning() const;

Q_SIGNALS:
    void ended(); ///< Emitted when a transfer has ended.

private:
    /// Shows the card and calls `begin`, unless a transfer to the same target is running.
    void Add(TransferCard* card, const std::function<void()>& begin);

    QDir directory;
    QNetworkAccessManager network;
    QThread copyThread; ///< For the copiers: Abort blocks until the current file is copied.
};
