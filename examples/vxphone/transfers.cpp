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
#include <memory>

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
    QStringList parts{total > 0 ? QObject::tr("%1 of %2").arg(SizeText(received), SizeText(total))
                                : SizeText(received)};
    if (const qint64 rate = received * 1000 / qMax<qint64>(milliseconds, 1); rate > 0) {
        parts += QObject::tr("%1/s").arg(SizeText(rate));
        if (const qint64 left = (total - received) / rate; left > 0) {
            parts += left < 60 ? QObject::tr("%1 s left").arg(left)
                               : QObject::tr("%1 min left").arg(left / 60 + 1);
        }
    }
    return parts.join(u" · "_s);
}

QString ErrorInWords(int error, const QString& reason)
{
    static const QHash<int, QString> texts{
        {QNetworkReply::ConnectionRefusedError, QObject::tr("The server refuses the connection.")},
        {QNetworkReply::TimeoutError, QObject::tr("The server does not respond.")},
        {QNetworkReply::OperationCanceledError, QObject::tr("The server does not respond.")},
        {QNetworkReply::ContentAccessDenied, QObject::tr("The server does not hand this file out.")},
        {QNetworkReply::ContentNotFoundError, QObject::tr("The server has no such file.")},
        {IFileDownload::FileNotPrepared, QObject::tr("The file cannot be created.")},
        {FileCopier::NoSourceDirectory, QObject::tr("This folder does not exist.")},
        {FileCopier::NoDestinationDirectory, QObject::tr("The folder of the copy cannot be created.")},
        {FileCopier::Aborted, QObject::tr("Cancelled")},
        {FileCopier::CopyFailed, QObject::tr("A file could not be copied.")}};
    return texts.value(error, reason);
}

} // namespace

/// A transfer: its name, how far it is, and what can be done about it.
class TransferCard : public QFrame
{
    Q_OBJECT

public:
    const QString& Source() const { return source; }
    const QString& Target() const { return target; } ///< The file or directory to write.
    bool IsRunning() const { return running; }
    virtual void Start() = 0;  ///< Begins, also again after a failure.
    virtual void Cancel() = 0; ///< Leads to `ended`, now or later.

Q_SIGNALS:
    void ended();

protected:
    TransferCard(const QString& source_, const QString& target_, const QIcon& icon)
        : status(new Line)
        , bar(new QProgressBar)
        , again(new QPushButton)
        , close(new QPushButton)
        , source(source_)
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
        connect(close, &QPushButton::clicked, this, [this] { running ? Cancel() : deleteLater(); });
    }

    /// An unknown total is -1.
    void ShowProgress(const QString& text, qint64 current = 0, qint64 total = -1)
    {
        constexpr int barParts = 1000; // A bar shows an int.
        bar->setRange(0, total > 0 ? barParts : 0);
        bar->setValue(total > 0 ? static_cast<int>(current * barParts / total) : 0);
        status->Show(text, Tone::Quiet);
        if (!running) {
            SetState(true);
        }
    }

    void Succeed(const QString& text)
    {
        status->Show(text, Tone::Good, u"done"_s, QDir::toNativeSeparators(target));
        SetState(false, true);
    }

    /// `error` is a code of the library.
    void Fail(int error, const QString& reason)
    {
        status->Show(ErrorInWords(error, reason), Tone::Error, u"error"_s,
                     tr("%1\nError %2: %3").arg(source).arg(error).arg(reason));
        SetState(false);
    }

private:
    void SetState(bool isRunning, bool hasSucceeded = false)
    {
        running = isRunning;
        succeeded = hasSucceeded;
        bar->setVisible(running);
        again->setVisible(!running);
        again->setText(succeeded ? tr("Show in folder") : tr("Try again"));
        close->setText(running ? tr("Cancel") : tr("Dismiss"));
        for (QPushButton* const button : {again, close}) {
            button->setAccessibleName(tr("%1: %2").arg(button->text(), QFileInfo(target).fileName()));
        }
        if (!running) {
            Q_EMIT ended();
        }
    }

    Line* status;
    QProgressBar* bar;
    QPushButton* again;
    QPushButton* close;
    QString source;
    QString target;
    bool running = false;
    bool succeeded = false;
};

namespace
{

class DownloadCard : public TransferCard
{
public:
    DownloadCard(const QUrl& url_, const QString& target_)
        : TransferCard(url_.toDisplayString(), target_, tools::FileIconProvider().icon(QFileInfo(target_)))
        , url(url_)
        , part(target_ + u".part"_s)
    {}

    void Start() override
    {
        clock.start();
        download.reset(common::http::CreateFileDownload(&network, nullptr));
        download->SetUrl(url);
        download->SetFilePath(part);
        connect(download.get(), &IFileDownload::progress, this, [this](qint64 received, qint64 total) {
            ShowProgress(RateText(received, total, clock.elapsed()), received, total);
        });
        connect(download.get(), &IFileDownload::complete, this, &DownloadCard::Keep);
        connect(download.get(), &IFileDownload::failed, this, &DownloadCard::Discard);
        ShowProgress(tr("Connecting…"));
        download->Start();
    }

    void Cancel() override { Discard(FileCopier::Aborted, tr("Cancelled")); }

private:
    /// Replaces an older file by the complete one.
    void Keep()
    {
        download.reset(); // It holds the file open.
        std::error_code error;
        std::filesystem::rename(QFileInfo(part).filesystemFilePath(),
                                QFileInfo(Target()).filesystemFilePath(), error);
        if (error) {
            Fail(error.value(), tr("The file is kept as %1.").arg(QFileInfo(part).fileName()));
        } else {
            Succeed(tr("Downloaded · %1").arg(SizeText(QFileInfo(Target()).size())));
        }
    }

    /// Removes what has arrived: half a file, or an error page, is of no use.
    void Discard(int error, const QString& reason)
    {
        Fail(error, reason);
        download.reset(); // It may own the reason.
        QFile::remove(part);
    }

    QUrl url;
    QString part; ///< The file while it is incomplete.
    QElapsedTimer clock;
    QNetworkAccessManager network;
    std::unique_ptr<IFileDownload> download; ///< Not null while the transfer runs.
};

class CopyCard : public TransferCard
{
public:
    CopyCard(QThread& thread_, const QString& source_, const QString& target_)
        : TransferCard(source_, target_, tools::FileIconProvider().icon(QFileIconProvider::Folder))
        , thread(thread_)
    {}

    void Start() override
    {
        copier = new FileCopier;
        copier->AddDirectory(Source(), Target());
        copier->moveToThread(&thread);
        connect(&thread, &QThread::finished, copier, &QObject::deleteLater);
        connect(copier, &FileCopier::progress, this, [this](int current, int total) {
            ShowProgress(tr("%1 of %2 files").arg(current).arg(total), current, total);
        });
        connect(copier, &FileCopier::succesed, this, [this] { Succeed(tr("Copied")); });
        connect(copier, &FileCopier::failed, this, &CopyCard::Fail);
        connect(this, &TransferCard::ended, copier, &QObject::deleteLater);
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
    FileCopier* copier = nullptr; ///< Valid while the transfer runs.
};

} // namespace

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

void TransferPanel::Download(const QUrl& url)
{
    const QString name = QFileInfo(QDir::fromNativeSeparators(url.path())).fileName();
    Add(new DownloadCard(url,
                         directory.filePath(u"downloads/"_s + (name.isEmpty() ? u"index.html"_s : name))));
}

void TransferPanel::Copy(const QString& source)
{
    Add(new CopyCard(copyThread, source, directory.filePath(u"backup/"_s + QFileInfo(source).fileName())));
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

void TransferPanel::Add(TransferCard* card)
{
    constexpr int maxCards = 3; // Ended ones above this number are dismissed.
    const auto all = Cards();
    for (TransferCard* const older : all) {
        const bool isSame = older->Target() == card->Target();
        if (isSame && older->IsRunning()) {
            delete card;
            return;
        }
        if (isSame || (!older->IsRunning() && cards->count() >= maxCards)) {
            delete older;
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

#include "transfers.moc"
