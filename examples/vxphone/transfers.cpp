#include "transfers.h"

#include "widgets.h"

#include <common/http/ifiledownload.h>
#include <common/shell/filecopier.h>
#include <common/shell/shell.h>
#include <common/tools/fileiconprovider.h>

#include <QDir>
#include <QElapsedTimer>
#include <QGridLayout>
#include <QLocale>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProgressBar>
#include <QPushButton>

#include <algorithm>
#include <filesystem>

using namespace Qt::StringLiterals;

namespace
{

using common::FileCopier;
using common::http::IFileDownload;

QString SizeText(qint64 bytes)
{
    return QLocale().formattedDataSize(bytes, 1, QLocale::DataSizeTraditionalFormat);
}

/// "18 of 48 MB · 6 MB/s · 5 s left", as far as it is known.
QString RateText(qint64 received, qint64 total, qint64 milliseconds)
{
    QStringList parts{total > 0 ? TransferCard::tr("%1 of %2").arg(SizeText(received), SizeText(total))
                                : SizeText(received)};
    if (const qint64 rate = received * 1000 / qMax<qint64>(milliseconds, 1); rate > 0) {
        parts += TransferCard::tr("%1/s").arg(SizeText(rate));
        if (const qint64 left = (total - received) / rate; left > 0) {
            parts += left < 60 ? TransferCard::tr("%1 s left").arg(left)
                               : TransferCard::tr("%1 min left").arg(left / 60 + 1);
        }
    }
    return parts.join(u" · "_s);
}

class DownloadCard : public TransferCard
{
public:
    DownloadCard(const QUrl& url_, const QString& target_)
        : TransferCard(target_, tools::FileIconProvider().icon(QFileInfo(target_)))
        , url(url_)
        , part(target_ + u".part"_s)
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
            ShowProgress(RateText(received, total, clock.elapsed()), received, total);
        });
        connect(download, &IFileDownload::complete, this, &DownloadCard::Keep);
        connect(download, &IFileDownload::failed, this, [this](int error, const QString& reason) {
            Discard();
            End(false, ErrorInWords(error, reason),
                tr("%1\nError %2: %3").arg(url.toDisplayString()).arg(error).arg(reason));
        });
        ShowProgress(tr("Connecting…"));
        download->Start();
    }

    void Cancel() override
    {
        Discard();
        End(false, tr("Cancelled"), url.toDisplayString());
    }

private:
    static QString ErrorInWords(int error, const QString& reason)
    {
        static const QHash<int, QString> texts{
            {QNetworkReply::ConnectionRefusedError, tr("The server refuses the connection.")},
            {QNetworkReply::RemoteHostClosedError, tr("The connection broke off.")},
            {QNetworkReply::HostNotFoundError, tr("There is no server of this name.")},
            {QNetworkReply::TimeoutError, tr("The server does not respond.")},
            {QNetworkReply::OperationCanceledError, tr("The server does not respond.")},
            {QNetworkReply::ContentAccessDenied, tr("The server does not hand this file out.")},
            {QNetworkReply::AuthenticationRequiredError, tr("The server does not hand this file out.")},
            {QNetworkReply::ContentNotFoundError, tr("The server has no such file.")},
            {IFileDownload::FileNotPrepared, tr("The file cannot be written here.")}};
        return texts.value(error, reason);
    }

    /// Replaces an older file by the complete one.
    void Keep()
    {
        delete download;
        std::error_code error;
        std::filesystem::rename(QFileInfo(part).filesystemFilePath(),
                                QFileInfo(Target()).filesystemFilePath(), error);
        if (error) {
            End(false, tr("The file cannot get its name and is kept as %1.").arg(QFileInfo(part).fileName()),
                QString::fromLocal8Bit(error.message().c_str()));
        } else {
            End(true, tr("Downloaded · %1").arg(SizeText(QFileInfo(Target()).size())));
        }
    }

    /// Removes what has arrived: half a file, or an error page, is of no use.
    void Discard()
    {
        delete download; // It holds the file open.
        QFile::remove(part);
    }

    QUrl url;
    QString part; ///< The file while it is incomplete.
    QElapsedTimer clock;
    QNetworkAccessManager network;
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
            ShowProgress(tr("%1 of %2 files").arg(current).arg(total), current, total);
        });
        connect(copier, &FileCopier::succesed, this, [this] {
            copier->deleteLater();
            End(true, tr("Copied"), QDir::toNativeSeparators(Target()));
        });
        connect(copier, &FileCopier::failed, this, [this](int error, const QString& reason) {
            copier->deleteLater();
            const QString text = error == FileCopier::Aborted             ? tr("Cancelled")
                                 : error == FileCopier::NoSourceDirectory ? tr("This folder does not exist.")
                                                                          : tr("A file could not be copied.");
            End(false, text,
                tr("%1\nError %2: %3").arg(QDir::toNativeSeparators(source)).arg(error).arg(reason));
        });
        ShowProgress(tr("Looking for files…"));
        QMetaObject::invokeMethod(copier, &FileCopier::Copy);
    }

    void Cancel() override
    {
        ShowProgress(tr("Finishing the current file…"));
        QMetaObject::invokeMethod(copier, [running = copier] { running->Abort(true); });
    }

private:
    QThread& thread;
    QString source;
    FileCopier* copier = nullptr; ///< Valid while the transfer runs.
};

} // namespace

TransferCard::TransferCard(const QString& target_, const QIcon& icon)
    : status(new Line)
    , bar(new QProgressBar)
    , again(new QPushButton)
    , close(new QPushButton)
    , target(target_)
{
    constexpr int pictureSize = 32;
    setObjectName(u"card"_s);
    auto* const picture = new QLabel;
    picture->setPixmap(icon.pixmap(QSize(pictureSize, pictureSize), devicePixelRatioF()));
    auto* const name = new Line(1.0, true);
    name->Show(QFileInfo(target).fileName());
    bar->setAccessibleName(tr("Progress of %1").arg(name->text()));
    bar->setTextVisible(false);

    auto* const layout = new QGridLayout(this);
    layout->setColumnStretch(1, 1);
    layout->addWidget(picture, 0, 0, 3, 1);
    layout->addWidget(name, 0, 1);
    layout->addWidget(bar, 1, 1);
    layout->addWidget(status, 2, 1);
    layout->addWidget(again, 0, 2, 3, 1, Qt::AlignVCenter);
    layout->addWidget(close, 0, 3, 3, 1, Qt::AlignVCenter);
    connect(again, &QPushButton::clicked, this, [this] {
        if (succeeded) {
            common::Shell::ShowFile(target);
        } else {
            Start();
        }
    });
    connect(close, &QPushButton::clicked, this, [this] {
        if (running) {
            Cancel();
        } else {
            deleteLater();
        }
    });
}

void TransferCard::ShowProgress(const QString& text, qint64 current, qint64 total)
{
    constexpr int barParts = 1000; // A bar shows an int.
    bar->setRange(0, total > 0 ? barParts : 0);
    bar->setValue(total > 0 ? static_cast<int>(current * barParts / total) : 0);
    status->Show(text, Tone::Quiet);
    if (!running) {
        running = true;
        ShowButtons();
    }
}

void TransferCard::End(bool succeeded_, const QString& text, const QString& details)
{
    succeeded = succeeded_;
    if (succeeded) {
        status->Show(text, Tone::Good, u"done"_s, details);
    } else {
        status->Show(text, Tone::Error, u"error"_s, details);
    }
    running = false;
    ShowButtons();
    Q_EMIT ended();
}

void TransferCard::ShowButtons()
{
    bar->setVisible(running);
    again->setVisible(!running);
    again->setText(succeeded ? tr("Show in folder") : tr("Try again"));
    again->setIcon(succeeded ? QIcon() : SymbolIcon(u"retry"_s));
    close->setText(running ? tr("Cancel") : tr("Dismiss"));
    for (QPushButton* const button : {again, close}) {
        button->setAccessibleName(tr("%1: %2").arg(button->text(), QFileInfo(target).fileName()));
    }
}

TransferPanel::TransferPanel(const QDir& directory_)
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
    qDeleteAll(Cards()); // While there is a panel to report to.
}

TransferCard* TransferPanel::Download(const QUrl& url)
{
    const QString name = QFileInfo(QDir::fromNativeSeparators(url.path())).fileName();
    return Add(new DownloadCard(
        url, directory.filePath(u"downloads/"_s + (name.isEmpty() ? u"index.html"_s : name))));
}

TransferCard* TransferPanel::Copy(const QString& source)
{
    return Add(
        new CopyCard(copyThread, source, directory.filePath(u"backup/"_s + QFileInfo(source).fileName())));
}

bool TransferPanel::Stop()
{
    const auto all = Cards();
    for (TransferCard* const card : all) {
        if (card->IsRunning()) {
            card->Cancel();
        }
    }
    return !IsRunning();
}

TransferCard* TransferPanel::Add(TransferCard* card)
{
    constexpr qsizetype maxCards = 2; // Ended ones above this number are dismissed.
    const auto all = Cards();
    qsizetype count = all.size();
    for (TransferCard* const older : all) {
        const bool isSame = older->Target() == card->Target();
        if (isSame && older->IsRunning()) {
            delete card;
            return older;
        }
        if (isSame || (!older->IsRunning() && count >= maxCards)) {
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
    connect(card, &QObject::destroyed, this, [this] { setVisible(!Cards().isEmpty()); });
    card->Start();
    show();
    return card;
}

QList<TransferCard*> TransferPanel::Cards() const
{
    return findChildren<TransferCard*>();
}

bool TransferPanel::IsRunning() const
{
    const auto all = Cards();
    return std::any_of(all.begin(), all.end(), [](const TransferCard* card) { return card->IsRunning(); });
}
