#pragma once

#include <QDir>
#include <QNetworkAccessManager>
#include <QThread>
#include <QUrl>
#include <QWidget>

#include <functional>

class TransferCard;

/// The transfers. Visible while there is one.
class TransferPanel : public QWidget
{
    Q_OBJECT

public:
    /// Files are written below `directory`.
    explicit TransferPanel(const QDir& directory);
    ~TransferPanel() override;

    /// Downloads a file, which gets its name when it is complete; until then, an existing file stays.
    void Download(const QUrl& url);
    /// Copies a directory with everything in it. If cancelled, it ends after the current file.
    void Copy(const QString& source);
    /// Cancels all transfers. Returns whether all have ended.
    bool Stop();
    bool IsRunning() const;

Q_SIGNALS:
    void ended(); ///< Emitted when a transfer has ended.

private:
    /// Shows the card and begins, unless a transfer to the same target is running.
    void Add(TransferCard* card, const std::function<void()>& begin);

    QDir directory;
    QNetworkAccessManager network;
    QThread copyThread; ///< Copiers live here, because aborting one waits for its current file.
};
