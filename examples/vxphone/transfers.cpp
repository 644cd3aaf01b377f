#include "transfers.h"

#include <common/http/ifiledownload.h>
#include <common/shell/filecopier.h>

#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QNetworkAccessManager>
#include <QProgressBar>
#include <QPushButton>
#include <QThread>

#include <filesystem>

namespace vxphone
{

namespace
{

using common::FileCopier;
using common::http::IFileDownload;

class DownloadRow : public TransferRow
{
public:
    DownloadRow(QGridLayout* grid, const QString& folder_)
        : TransferRow(grid, {tr("&File from the web:"), QStringLiteral("https://"), tr("&Download"),
                             tr("A&bort"), tr("Nothing downloaded yet")})
        , folder(folder_)
    {}
    ~DownloadRow() override
    {
        if (IsRunning()) {
            Discard();
        }
    }

    void Abort() override
    {
        Discard();
        End(false, tr("Aborted"));
    }

private:
    void Start(const QString& text) override
    {
        const QUrl url = QUrl::fromUserInput(text);
        if (!url.isValid() || url.host().isEmpty()) {
            status->setText(tr("This is not a web address"));
            return;
        }
        const QString name = QFileInfo(QDir::fromNativeSeparators(url.path())).fileName();
        target = QDir(folder).filePath(name.isEmpty() ? QStringLiteral("index.html") : name);
        part = target + QStringLiteral(".part");

        download = common::http::CreateFileDownload(&network, this);
        download->SetUrl(url);
        download->SetFilePath(part);
        connect(download, &IFileDownload::progress, this, [this](qint64 received, qint64 total) {
            const QString size = QLocale().formattedDataSize(received);
            const QString of = tr("%1 of %2").arg(size, QLocale().formattedDataSize(total));
            ShowProgress(received, total, total > 0 ? of : size);
        });
        connect(download, &IFileDownload::complete, this, &DownloadRow::Keep);
        connect(download, &IFileDownload::failed, this, [this](int error, const QString& reason) {
            Discard();
            End(false, tr("Error %1: %2").arg(error).arg(reason));
        });
        Begin(tr("Connecting…"));
        download->Start();
    }

    /// Puts the whole file into the place of an older one.
    void Keep()
    {
        delete download;
        std::error_code error;
        std::filesystem::rename(QFileInfo(part).filesystemFilePath(), QFileInfo(target).filesystemFilePath(),
                                error);
        End(!error, error ? tr("Kept as %1, since its name is taken").arg(QDir::toNativeSeparators(part))
                          : tr("Saved as %1").arg(QDir::toNativeSeparators(target)));
    }

    /// Removes what came so far: half a file, or the page of an error, is of no use.
    void Discard()
    {
        delete download; // It holds the file open.
        QFile::remove(part);
    }

    QString folder;
    QString target;
    QString part; ///< Has what came so far.
    QNetworkAccessManager network;
    IFileDownload* download = nullptr; ///< Of the running transfer.
};

class CopyRow : public TransferRow
{
public:
    CopyRow(QGridLayout* grid, const QString& folder_)
        : TransferRow(grid, {tr("Folder to back &up:"), tr("Is copied with all that is in it"), tr("Cop&y"),
                             tr("Abor&t"), tr("Nothing copied yet")})
        , folder(folder_)
    {
        thread.start();
    }
    ~CopyRow() override
    {
        thread.quit();
        thread.wait();
    }

    void Abort() override
    {
        status->setText(tr("Aborting…"));
        QMetaObject::invokeMethod(copier, [running = copier] { running->Abort(true); });
    }

private:
    void Start(const QString& text) override
    {
        const QFileInfo source(QDir::cleanPath(QDir().absoluteFilePath(QDir::fromNativeSeparators(text))));
        if (text.isEmpty() || source.fileName().isEmpty()) {
            status->setText(tr("Name a folder"));
            return;
        }
        copier = new FileCopier;
        copier->AddDirectory(source.filePath(), QDir(folder).filePath(source.fileName()));
        copier->moveToThread(&thread);
        connect(&thread, &QThread::finished, copier, &QObject::deleteLater);
        connect(copier, &FileCopier::progress, this, [this](int current, int total) {
            ShowProgress(current, total, tr("%1 of %2 files").arg(current).arg(total));
        });
        connect(copier, &FileCopier::succesed, this, [this] {
            copier->deleteLater();
            End(true, tr("Copied to %1").arg(QDir::toNativeSeparators(folder)));
        });
        connect(copier, &FileCopier::failed, this, [this](int error, const QString& reason) {
            constexpr int aborted = 700105;
            copier->deleteLater();
            End(false, error == aborted ? tr("Aborted") : tr("Error %1: %2").arg(error).arg(reason));
        });
        Begin(tr("Looking for files…"));
        QMetaObject::invokeMethod(copier, &FileCopier::Copy);
    }

    QString folder;
    QThread thread; ///< The copier's: to abort is to wait for the file at hand, and the window must not wait.
    FileCopier* copier = nullptr; ///< Of the running transfer.
};

/// A bar shows an int, so it shows this many parts of the whole.
constexpr int barParts = 1000;

} // namespace

TransferRow::TransferRow(QGridLayout* grid, const Labels& labels)
    : QObject(grid->parentWidget())
    , status(new QLabel(labels.status))
    , field(new QLineEdit)
    , button(new QPushButton(labels.start))
    , bar(new QProgressBar)
    , startLabel(labels.start)
    , abortLabel(labels.abort)
{
    auto* const title = new QLabel(labels.title);
    title->setBuddy(field);
    field->setPlaceholderText(labels.hint);
    status->setTextFormat(Qt::PlainText);
    status->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    bar->setRange(0, barParts);
    const int line = grid->rowCount();
    grid->addWidget(title, line, 0);
    grid->addWidget(field, line, 1, 1, 2);
    grid->addWidget(button, line, 3);
    grid->addWidget(status, line + 1, 1);
    grid->addWidget(bar, line + 1, 2);

    const auto start = [this] {
        if (!running) {
            Start(field->text().trimmed());
        }
    };
    connect(field, &QLineEdit::returnPressed, this, start);
    connect(button, &QPushButton::clicked, this, [this, start] { running ? Abort() : start(); });
}

void TransferRow::Begin(const QString& text)
{
    running = true;
    button->setText(abortLabel);
    ShowProgress(0, -1, text);
}

void TransferRow::ShowProgress(qint64 current, qint64 total, const QString& text)
{
    bar->setRange(0, total > 0 ? barParts : 0);
    bar->setValue(total > 0 ? static_cast<int>(current * barParts / total) : 0);
    status->setText(text);
}

void TransferRow::End(bool whole, const QString& text)
{
    running = false;
    button->setText(startLabel);
    ShowProgress(whole ? 1 : 0, 1, text);
    Q_EMIT ended();
}

TransferRow* CreateDownloadRow(QGridLayout* grid, const QString& folder)
{
    return new DownloadRow(grid, folder);
}

TransferRow* CreateCopyRow(QGridLayout* grid, const QString& folder)
{
    return new CopyRow(grid, folder);
}

} // namespace vxphone
