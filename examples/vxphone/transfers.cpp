#include "transfers.h"

#include "transfercard.h"

#include <common/http/ifiledownload.h>
#include <common/shell/filecopier.h>
#include <common/tools/fileiconprovider.h>

#include <QElapsedTimer>
#include <QLocale>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;
using common::FileCopier;
using common::http::IFileDownload;

namespace
{

QString SizeText(qint64 bytes)
{
    return QLocale().formattedDataSize(bytes, 1, QLocale::DataSizeTraditionalFormat);
}

/// Returns a string such as "18 of 48 MB · 6 MB/s · 0:05 left", without the parts that are unknown.
QString RateText(qint64 received, qint64 total, qint64 milliseconds)
{
    QStringList parts{total > 0 ? QObject::tr("%1 of %2").arg(SizeText(received), SizeText(total))
                                : SizeText(received)};
    if (const qint64 rate = received * 1000 / qMax<qint64>(milliseconds, 1); rate > 0) {
        parts += QObject::tr("%1/s").arg(SizeText(rate));
        if (const qint64 left = (total - received) / rate; left > 0) {
            parts += QObject::tr("%1 left").arg(DurationText(left));
        }
    }
    return parts.join(u" · "_s);
}

void StartDownload(TransferCard* card, QNetworkAccessManager* network, const QUrl& url)
{
    const QString part = card->Target() + u".part"_s; // Path of the incomplete file.
    auto* const download = common::http::CreateFileDownload(network, card);
    download->SetUrl(url);
    download->SetFilePath(part);
    QElapsedTimer clock;
    clock.start();
    QObject::connect(download, &IFileDownload::progress, card, [card, clock](qint64 received, qint64 total) {
        card->ShowProgress(RateText(received, total, clock.elapsed()), received, total);
    });
    QObject::connect(download, &IFileDownload::complete, card, [card, part] {
        QFile::remove(card->Target());
        if (QFile::rename(part, card->Target())) {
            card->Succeed(QObject::tr("Downloaded · %1").arg(SizeText(QFileInfo(card->Target()).size())));
        } else {
            card->Fail(IFileDownload::FileNotPrepared, part);
        }
    });
    const auto discard = [card, part](int error, const QString& reason) {
        QFile::remove(part); // A partial file or an error page is useless.
        card->Fail(error, reason);
    };
    QObject::connect(download, &IFileDownload::failed, card, discard);
    QObject::connect(card, &TransferCard::cancelled, download, [download, discard] {
        delete download; // The download holds the file open.
        discard(FileCopier::Aborted, QObject::tr("Cancelled"));
    });
    QObject::connect(card, &TransferCard::ended, download, &QObject::deleteLater);
    card->ShowProgress(QObject::tr("Connecting…"));
    download->Start();
}

void StartCopy(TransferCard* card, QThread* thread, const QString& source)
{
    auto* const copier = new FileCopier;
    copier->AddDirectory(source, card->Target());
    copier->moveToThread(thread);
    QObject::connect(thread, &QThread::finished, copier, &QObject::deleteLater);
    QObject::connect(copier, &FileCopier::progress, card, [card](int current, int total) {
        card->ShowProgress(QObject::tr("%1 of %2 files").arg(current).arg(total), current, total);
    });
    QObject::connect(copier, &FileCopier::succesed, card, [card] { card->Succeed(QObject::tr("Copied")); });
    QObject::connect(copier, &FileCopier::failed, card, &TransferCard::Fail);
    QObject::connect(card, &TransferCard::ended, copier, &QObject::deleteLater);
    QObject::connect(card, &TransferCard::cancelled, copier, [copier] { copier->Abort(); });
    card->ShowProgress(QObject::tr("Looking for files…"));
    QMetaObject::invokeMethod(copier, &FileCopier::Copy);
}

} // namespace

TransferPanel::TransferPanel(const QDir& directory_)
    : directory(directory_)
{
    (new QVBoxLayout(this))->setContentsMargins(0, 0, 0, 0);
    copyThread.start();
    hide();
}

TransferPanel::~TransferPanel()
{
    copyThread.quit();
    copyThread.wait();
    qDeleteAll(findChildren<TransferCard*>()); // The cards report to this panel, so delete them first.
}

void TransferPanel::Download(const QUrl& url)
{
    const QString name = QFileInfo(QDir::fromNativeSeparators(url.path())).fileName();
    const QString target = directory.filePath(u"downloads/"_s + (name.isEmpty() ? u"index.html"_s : name));
    auto* const card = new TransferCard(target, tools::FileIconProvider().icon(QFileInfo(target)));
    Add(card, [this, card, url] { StartDownload(card, &network, url); });
}

void TransferPanel::Copy(const QString& source)
{
    auto* const card = new TransferCard(directory.filePath(u"backup/"_s + QFileInfo(source).fileName()),
                                        tools::FileIconProvider().icon(QFileIconProvider::Folder));
    Add(card, [this, card, source] { StartCopy(card, &copyThread, source); });
}

bool TransferPanel::Stop()
{
    const auto all = findChildren<TransferCard*>();
    for (TransferCard* const card : all) {
        if (card->IsRunning()) {
            Q_EMIT card->cancelled();
        }
    }
    return !IsRunning();
}

void TransferPanel::Add(TransferCard* card, const std::function<void()>& begin)
{
    constexpr int maxCards = 3; // Above this number, cards of ended transfers are removed.
    const auto all = findChildren<TransferCard*>();
    for (TransferCard* const older : all) {
        const bool isSame = older->Target() == card->Target();
        if (isSame && older->IsRunning()) {
            delete card;
            return;
        }
        if (isSame || (!older->IsRunning() && layout()->count() >= maxCards)) {
            delete older;
        }
    }
    layout()->addWidget(card);
    connect(card, &TransferCard::startAsked, this, begin);
    connect(card, &TransferCard::ended, this, &TransferPanel::ended);
    connect(card, &QObject::destroyed, this, [this] { setVisible(findChild<TransferCard*>() != nullptr); });
    begin();
    show();
}

bool TransferPanel::IsRunning() const
{
    const auto all = findChildren<TransferCard*>();
    return std::any_of(all.begin(), all.end(), [](const TransferCard* card) { return card->IsRunning(); });
}
