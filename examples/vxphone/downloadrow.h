#pragma once

#include <QObject>

class QGridLayout;
class QLabel;
class QLineEdit;
class QNetworkAccessManager;
class QProgressBar;
class QPushButton;

namespace common::http
{
class IFileDownload;
}

namespace vxphone
{

/// One row of the transfers: an address, how far its download is, and a button that starts and ends it.
class DownloadRow : public QObject
{
    Q_OBJECT

public:
    /// Puts its widgets into rows `row` and `row` + 1 of `grid`; files come into `folder`.
    DownloadRow(QGridLayout* grid, int row, const QString& folder, QObject* parent);
    ~DownloadRow() override;

private:
    void Toggle();
    void Start();
    void Discard();
    void End(const QString& text);
    void ShowProgress(qint64 received, qint64 total);

    QString folder;
    QNetworkAccessManager* network;
    common::http::IFileDownload* download;
    QLineEdit* address;
    QProgressBar* bar;
    QPushButton* button;
    QLabel* status;
    bool running = false; ///< The download itself does not tell.
};

} // namespace vxphone
