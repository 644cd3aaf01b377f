#include "transfers.h"

#include "appearance.h"

#include <common/http/ifiledownload.h>
#include <common/shell/filecopier.h>
#include <common/shell/shell.h>
#include <common/tools/fileiconprovider.h>

#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QLocale>
#include <QNetworkReply>
#include <QProgressBar>
#include <QPushButton>

#include <algorithm>
#include <filesystem>

namespace vxphone
{

namespace
{

using common::FileCopier;
using common::http::IFileDownload;

/// A bar shows an int, so it shows this many parts of the whole.
constexpr int barParts = 1000;
constexpr int pictureSize = 32;
constexpr int maxCards = 2; ///< Finished ones above this number are dismissed.

QString DownloadErrorInWords(int error, const QString& reason)
{
    switch (error) {
    case QNetworkReply::ConnectionRefusedError:
        return TransferCard::tr("The server refuses the connection.");
    case QNetworkReply::RemoteHostClosedError:
        return TransferCard::tr("The connection broke off.");
    case QNetworkReply::HostNotFoundError:
        return TransferCard::tr("There is no server of this name.");
    case QNetworkReply::TimeoutError:
    case QNetworkReply::OperationCanceledError:
        return TransferCard::tr("The server does not respond.");
    case QNetworkReply::ContentAccessDenied:
    case QNetworkReply::AuthenticationRequiredError:
        return TransferCard::tr("The server does not hand this file out.");
    case QNetworkReply::ContentNotFoundError:
        return TransferCard::tr("The server has no such file.");
    default:
        return reason;
    }
}

/// "18 of 48 MB · 6 MB/s · 5 s left", as far as it is known.
QString RateText(qint64 received, qint64 total, qint64 milliseconds)
{
    const QLocale locale;
    const auto size = [&locale](qint64 bytes) {
        return locale.formattedDataSize(bytes, 1, QLocale::DataSizeTraditionalFormat);
    };
    QStringList parts{total > 0 ? TransferCard::tr("%1 of %2").arg(size(received), size(total))
                                : size(received)};
    if (const qint64 rate = milliseconds > 0 ? received * 1000 / milliseconds : 0; rate > 0) {
        parts += TransferCard::tr("%1/s").arg(size(rate));
        if (const qint64 left = (total - received) / rate; left > 0) {
            parts += left < 60 ? TransferCard::tr("%1 s left").arg(left)
                               : TransferCard::tr("%1 min left").arg(left / 60 + 1);
        }
    }
    return parts.join(QStringLiteral(" · "));
}

class DownloadCard : public TransferCard
{
public:
    DownloadCard(QNetworkAccessManager& network_, const QUrl& url_, const QString& target_)
        : TransferCard(target_, tools::FileIconProvider().icon(QFileInfo(target_)))
        , network(network_)
        , url(url_)
        , part(target_ + QStringLiteral(".part"))
    {}
    ~DownloadCard() override
    {
        if (IsRunning()) {
            Discard();
        }
    }

    void Start() override
    {
        clock.start();
        download = common::http::CreateFileDownload(&network, this);
        download->SetUrl(url);
        download->SetFilePath(part);
        connect(download, &IFileDownload::progress, this, [this](qint64 received, qint64 total) {
            ShowProgress(received, total, RateText(received, total, clock.elapsed()));
        });
        connect(download, &IFileDownload::complete, this, &DownloadCard::Keep);
        connect(download, &IFileDownload::failed, this, [this](int error, const QString& reason) {
            Discard();
            Fail(DownloadErrorInWords(error, reason),
                 tr("%1\nError %2: %3").arg(url.toDisplayString()).arg(error).arg(reason));
        });
        Begin(tr("Connecting…"));
        download->Start();
    }

    void Cancel() override
    {
        Discard();
        Fail(tr("Cancelled"), url.toDisplayString());
    }

private:
    /// Replaces an older file by the complete one.
    void Keep()
    {
        delete download;
        std::error_code error;
        std::filesystem::rename(QFileInfo(part).filesystemFilePath(),
                                QFileInfo(Target()).filesystemFilePath(), error);
        if (error) {
            Fail(tr("The file cannot get its name and is kept as %1.").arg(QFileInfo(part).fileName()),
                 QString::fromLocal8Bit(error.message().c_str()));
        } else {
            Succeed(tr("Downloaded · %1")
                        .arg(QLocale().formattedDataSize(QFileInfo(Target()).size(), 1,
                                                         QLocale::DataSizeTraditionalFormat)));
        }
    }

    /// Removes what has arrived: half a file, or an error page, is of no use.
    void Discard()
    {
        delete download; // It holds the file open.
        QFile::remove(part);
    }

    QNetworkAccessManager& network;
    QUrl url;
    QString part; ///< The file while it is incomplete.
    QElapsedTimer clock;
    IFileDownload* download = nullptr; ///< Valid while the transfer runs.
};

class CopyCard : public TransferCard
{
public:
    CopyCard(QThread& thread_, const QString& source_, const QString& target_)
        : TransferCard(target_, tools::FileIconProvider().icon(QFileIconProvider::Folder))
        , thread(thread_)
        , source(source_)
    {}

    void Start() override
    {
        copier = new FileCopier;
        copier->AddDirectory(source, Target());
        copier->moveToThread(&thread);
        connect(&thread, &QThread::finished, copier, &QObject::deleteLater);
        connect(copier, &FileCopier::progress, this, [this](int current, int total) {
            ShowProgress(current, total, tr("%1 of %2 files").arg(current).arg(total));
        });
        connect(copier, &FileCopier::succesed, this, [this] {
            copier->deleteLater();
            Succeed(tr("Copied"), QDir::toNativeSeparators(Target()));
        });
        connect(copier, &FileCopier::failed, this, [this](int error, const QString& reason) {
            copier->deleteLater();
            ShowFailure(error, reason);
        });
        Begin(tr("Looking for files…"));
        QMetaObject::invokeMethod(copier, &FileCopier::Copy);
    }

    void Cancel() override
    {
        status->Show(tr("Finishing the current file…"));
        QMetaObject::invokeMethod(copier, [running = copier] { running->Abort(true); });
    }

private:
    void ShowFailure(int error, const QString& reason)
    {
        constexpr int missing = 700102;
        constexpr int aborted = 700105;
        const QString text = error == aborted   ? tr("Cancelled")
                             : error == missing ? tr("This folder does not exist.")
                                                : tr("A file could not be copied.");
        Fail(text, tr("%1\nError %2: %3").arg(QDir::toNativeSeparators(source)).arg(error).arg(reason));
    }

    QThread& thread;
    QString source;
    FileCopier* copier = nullptr; ///< Valid while the transfer runs.
};

} // namespace

TransferCard::TransferCard(const QString& target_, const QIcon& icon)
    : status(new Line(Tone::Quiet))
    , bar(new QProgressBar)
    , cancel(new QPushButton(tr("Cancel")))
    , retry(new QPushButton(SymbolIcon(QStringLiteral("retry")), tr("Try again")))
    , show(new QPushButton(tr("Show in folder")))
    , dismiss(new QPushButton(tr("Dismiss")))
    , target(target_)
{
    setObjectName(QStringLiteral("card"));
    const QFileInfo file(target);
    auto* const picture = new QLabel;
    picture->setPixmap(icon.pixmap(QSize(pictureSize, pictureSize), devicePixelRatioF()));
    auto* const name = new Line(Tone::Plain, 1.0, true);
    name->Show(file.fileName());
    bar->setAccessibleName(tr("Progress of %1").arg(file.fileName()));
    bar->setTextVisible(false);

    auto* const layout = new QGridLayout(this);
    layout->setColumnStretch(1, 1);
    layout->addWidget(picture, 0, 0, 3, 1);
    layout->addWidget(name, 0, 1);
    layout->addWidget(bar, 1, 1);
    layout->addWidget(status, 2, 1);
    int column = 2;
    for (QPushButton* const button : {cancel, retry, show, dismiss}) {
        button->setAccessibleName(tr("%1: %2").arg(button->text(), file.fileName()));
        layout->addWidget(button, 0, column++, 3, 1, Qt::AlignVCenter);
    }
    connect(cancel, &QPushButton::clicked, this, [this] { Cancel(); });
    connect(retry, &QPushButton::clicked, this, [this] { Start(); });
    connect(show, &QPushButton::clicked, this, [this] { common::Shell::ShowFile(target); });
    connect(dismiss, &QPushButton::clicked, this, &QObject::deleteLater);
}

void TransferCard::Begin(const QString& text)
{
    running = true;
    for (QPushButton* const button : {retry, show, dismiss}) {
        button->hide();
    }
    bar->show();
    cancel->show();
    ShowProgress(0, -1, text);
}

void TransferCard::ShowProgress(qint64 current, qint64 total, const QString& text)
{
    bar->setRange(0, total > 0 ? barParts : 0);
    bar->setValue(total > 0 ? static_cast<int>(current * barParts / total) : 0);
    status->Show(text, Tone::Quiet);
}

void TransferCard::Succeed(const QString& text, const QString& details)
{
    status->Show(text, Tone::Good, QStringLiteral("done"), details);
    End(true);
}

void TransferCard::Fail(const QString& text, const QString& details)
{
    status->Show(text, Tone::Error, QStringLiteral("error"), details);
    End(false);
}

void TransferCard::End(bool whole)
{
    running = false;
    bar->hide();
    cancel->hide();
    show->setVisible(whole);
    retry->setVisible(!whole);
    dismiss->show();
    Q_EMIT ended();
}

TransferPanel::TransferPanel(const QString& directory_)
    : directory(directory_)
    , cards(new QVBoxLayout(this))
{
    cards->setContentsMargins(0, 0, 0, 0);
    copyThread.start();
    hide();
}

TransferPanel::~TransferPanel()
{
    copyThread.quit();
    copyThread.wait();
    qDeleteAll(findChildren<TransferCard*>()); // Downloads need the network.
}

TransferCard* TransferPanel::Download(const QUrl& url)
{
    const QString name = QFileInfo(QDir::fromNativeSeparators(url.path())).fileName();
    const QDir downloads(directory + QStringLiteral("/downloads"));
    return Add(new DownloadCard(network, url,
                                downloads.filePath(name.isEmpty() ? QStringLiteral("index.html") : name)));
}

TransferCard* TransferPanel::Copy(const QString& source)
{
    const QDir backup(directory + QStringLiteral("/backup"));
    return Add(new CopyCard(copyThread, source, backup.filePath(QFileInfo(source).fileName())));
}

bool TransferPanel::Stop()
{
    const auto all = findChildren<TransferCard*>();
    for (TransferCard* const card : all) {
        if (card->IsRunning()) {
            card->Cancel();
        }
    }
    return !IsRunning();
}

TransferCard* TransferPanel::Add(TransferCard* card)
{
    const auto all = findChildren<TransferCard*>(); // The oldest first.
    qsizetype count = all.size();
    for (TransferCard* const older : all) {
        if (older->Target() == card->Target() && older->IsRunning()) {
            delete card;
            return older;
        }
        if (older->Target() == card->Target() || (!older->IsRunning() && count >= maxCards)) {
            delete older;
            --count;
        }
    }
    cards->insertWidget(0, card);
    connect(card, &TransferCard::ended, this, [this] {
        if (!IsRunning()) {
            Q_EMIT idle();
        }
    });
    connect(card, &QObject::destroyed, this,
            [this] { setVisible(!findChildren<TransferCard*>().isEmpty()); });
    card->Start();
    show();
    return card;
}

bool TransferPanel::IsRunning() const
{
    const auto all = findChildren<TransferCard*>();
    return std::any_of(all.begin(), all.end(), [](const TransferCard* card) { return card->IsRunning(); });
}

} // namespace vxphone
