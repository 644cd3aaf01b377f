#pragma once

#include "widgets.h"

#include <common/http/ifiledownload.h>
#include <common/shell/filecopier.h>
#include <common/shell/shell.h>

#include <QDir>
#include <QGridLayout>
#include <QNetworkReply>
#include <QProgressBar>
#include <QPushButton>

/// A transfer: its name, its progress, and buttons to control it.
class TransferCard : public QFrame
{
    Q_OBJECT

public:
    /// @param target_ the file or directory that the transfer writes
    TransferCard(const QString& target_, const QIcon& icon)
        : target(target_)
        , status(new Line(QPalette::PlaceholderText))
        , bar(new QProgressBar)
        , again(new QPushButton)
        , close(new QPushButton)
    {
        setObjectName(QStringLiteral("card"));
        auto* const picture = new QLabel;
        picture->setPixmap(icon.pixmap(QSize(32, 32), devicePixelRatioF()));
        auto* const name = new Line;
        EnlargeFont(name, 1, true);
        name->Show(QFileInfo(target).fileName());
        bar->setAccessibleName(tr("Progress of %1").arg(name->text()));
        bar->setTextVisible(false);

        auto* const layout = new QGridLayout(this);
        layout->setColumnStretch(1, 1);
        layout->addWidget(picture, 0, 0, 3, 1);
        layout->addWidget(name, 0, 1);
        layout->addWidget(bar, 1, 1);
        layout->addWidget(status, 2, 1);
        layout->addWidget(again, 0, 2, 3, 1);
        layout->addWidget(close, 0, 3, 3, 1);
        connect(again, &QPushButton::clicked, this, [this] {
            succeeded ? static_cast<void>(common::Shell::ShowFile(target)) : Q_EMIT startAsked();
        });
        connect(this, &TransferCard::cancelled, status, [this] { status->Show(tr("Cancelling…")); });
        connect(close, &QPushButton::clicked, this, [this] { running ? Q_EMIT cancelled() : deleteLater(); });
    }

    const QString& Target() const { return target; }
    bool IsRunning() const { return running; }

    /// Shows the progress; `total` is -1 if it is unknown.
    void ShowProgress(const QString& text, qint64 current = 0, qint64 total = -1)
    {
        constexpr int barParts = 1000; // QProgressBar takes only int.
        bar->setRange(0, total > 0 ? barParts : 0);
        bar->setValue(total > 0 ? static_cast<int>(current * barParts / total) : 0);
        status->Show(text);
        SetState(true, false);
    }

    void Succeed(const QString& text)
    {
        status->Show(text, QStringLiteral("done"), QDir::toNativeSeparators(target));
        SetState(false, true);
    }

    /// @param error an error code of the library
    void Fail(int error, const QString& reason)
    {
        static const QHash<int, QString> texts{
            {QNetworkReply::ConnectionRefusedError, tr("The server refused the connection.")},
            {QNetworkReply::OperationCanceledError, tr("The server does not respond.")},
            {QNetworkReply::ContentNotFoundError, tr("The server has no such file.")},
            {common::http::IFileDownload::FileNotPrepared, tr("The file cannot be created.")},
            {common::FileCopier::NoSourceDirectory, tr("This folder does not exist.")},
            {common::FileCopier::Aborted, tr("Cancelled")},
            {common::FileCopier::CopyFailed, tr("A file could not be copied.")}};
        status->Show(texts.value(error, reason), QStringLiteral("error"),
                     tr("Error %1: %2").arg(error).arg(reason));
        SetState(false, false);
    }

Q_SIGNALS:
    void startAsked(); ///< Emitted when the user requests another attempt after a failure.
    void cancelled();  ///< Emitted when the user or the panel cancels the transfer; `ended` follows.
    void ended();

private:
    void SetState(bool isRunning, bool hasSucceeded)
    {
        running = isRunning;
        succeeded = hasSucceeded;
        bar->setVisible(running);
        again->setVisible(!running);
        again->setText(succeeded ? tr("Show in folder") : tr("Try again"));
        close->setText(running ? tr("Cancel") : tr("Dismiss"));
        if (!running) {
            Q_EMIT ended();
        }
    }

    QString target;
    Line* status;
    QProgressBar* bar;
    QPushButton* again;
    QPushButton* close;
    bool running = false;
    bool succeeded = false;
};
