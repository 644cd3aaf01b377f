#include "downloadrow.h"

#include <common/http/ifiledownload.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QNetworkAccessManager>
#include <QProgressBar>
#include <QPushButton>

namespace vxphone
{

namespace
{

/// A bar shows an int, so it shows this many parts of the whole.
constexpr int barParts = 1000;

} // namespace

DownloadRow::DownloadRow(QGridLayout* grid, int row, const QString& folder_, QObject* parent)
    : QObject(parent)
    , folder(folder_)
    , network(new QNetworkAccessManager(this))
    , download(common::http::CreateFileDownload(network, this))
    , address(new QLineEdit)
    , bar(new QProgressBar)
    , button(new QPushButton(tr("&Download")))
    , status(new QLabel(tr("Nothing downloaded yet")))
{
    auto* const title = new QLabel(tr("&File from the web:"));
    title->setBuddy(address);
    address->setPlaceholderText(QStringLiteral("https://"));
    status->setTextFormat(Qt::PlainText);
    status->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    bar->setRange(0, barParts);
    grid->addWidget(title, row, 0);
    grid->addWidget(address, row, 1, 1, 2);
    grid->addWidget(button, row, 3);
    grid->addWidget(status, row + 1, 1);
    grid->addWidget(bar, row + 1, 2);

    connect(button, &QPushButton::clicked, this, &DownloadRow::Toggle);
    connect(address, &QLineEdit::returnPressed, this, &DownloadRow::Start);
    connect(download, &common::http::IFileDownload::progress, this, &DownloadRow::ShowProgress);
    connect(download, &common::http::IFileDownload::complete, this, [this] {
        bar->setRange(0, barParts);
        bar->setValue(barParts);
        End(tr("Saved as %1").arg(QDir::toNativeSeparators(download->GetFilePath())));
    });
    connect(download, &common::http::IFileDownload::failed, this,
            [this](int error, const QString& text) { End(tr("Error %1: %2").arg(error).arg(text)); });
}

DownloadRow::~DownloadRow()
{
    if (running) {
        Discard();
    }
}

/// Half a file must not be taken for a whole one.
void DownloadRow::Discard()
{
    download->Abort();
    QFile::remove(download->GetFilePath());
}

void DownloadRow::Toggle()
{
    if (running) {
        Discard();
        End(tr("Aborted"));
    } else {
        Start();
    }
}

void DownloadRow::Start()
{
    if (running) {
        return;
    }
    const QUrl url = QUrl::fromUserInput(address->text());
    const QString name = QFileInfo(url.path()).fileName();
    if (!url.isValid() || url.host().isEmpty()) {
        status->setText(tr("This is not a web address"));
        return;
    }
    download->SetUrl(url);
    download->SetFilePath(QDir(folder).filePath(name.isEmpty() ? QStringLiteral("index.html") : name));
    bar->setRange(0, barParts);
    bar->setValue(0);
    status->setText(tr("Connecting…"));
    running = download->Start();
    if (running) {
        button->setText(tr("A&bort"));
    } else {
        End(tr("The download could not be started"));
    }
}

void DownloadRow::End(const QString& text)
{
    running = false;
    bar->setRange(0, barParts);
    button->setText(tr("&Download"));
    status->setText(text);
}

void DownloadRow::ShowProgress(qint64 received, qint64 total)
{
    const QLocale locale;
    if (total > 0) {
        bar->setRange(0, barParts);
        bar->setValue(static_cast<int>(received * barParts / total));
        status->setText(
            tr("%1 of %2").arg(locale.formattedDataSize(received), locale.formattedDataSize(total)));
    } else {
        bar->setRange(0, 0);
        status->setText(locale.formattedDataSize(received));
    }
}

} // namespace vxphone
