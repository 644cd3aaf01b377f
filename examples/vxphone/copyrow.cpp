#include "copyrow.h"

#include <common/shell/filecopier.h>

#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>

namespace vxphone
{

CopyRow::CopyRow(QGridLayout* grid, int row, const QString& folder_, QObject* parent)
    : QObject(parent)
    , folder(folder_)
    , source(new QLineEdit)
    , bar(new QProgressBar)
    , button(new QPushButton(tr("Cop&y")))
    , status(new QLabel(tr("Nothing copied yet")))
{
    auto* const title = new QLabel(tr("Folder to back &up:"));
    title->setBuddy(source);
    source->setPlaceholderText(tr("Is copied with all that is in it"));
    status->setTextFormat(Qt::PlainText);
    status->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    grid->addWidget(title, row, 0);
    grid->addWidget(source, row, 1, 1, 2);
    grid->addWidget(button, row, 3);
    grid->addWidget(status, row + 1, 1);
    grid->addWidget(bar, row + 1, 2);

    connect(button, &QPushButton::clicked, this, &CopyRow::Toggle);
    connect(source, &QLineEdit::returnPressed, this, &CopyRow::Start);
    thread.start();
}

CopyRow::~CopyRow()
{
    if (IsRunning()) {
        copier->deleteLater();
    }
    thread.quit();
    thread.wait();
}

void CopyRow::Toggle()
{
    if (IsRunning()) {
        Abort();
    } else {
        Start();
    }
}

void CopyRow::Abort()
{
    button->setEnabled(false);
    status->setText(tr("Aborting…"));
    QMetaObject::invokeMethod(copier, [running = copier] { running->Abort(true); });
}

void CopyRow::Start()
{
    if (IsRunning()) {
        return;
    }
    const QFileInfo info(QDir::fromNativeSeparators(source->text().trimmed()));
    if (source->text().trimmed().isEmpty() || info.fileName().isEmpty()) {
        status->setText(tr("Name a folder"));
        return;
    }
    copier = new common::FileCopier;
    copier->AddDirectory(info.absoluteFilePath(), QDir(folder).filePath(info.fileName()));
    copier->moveToThread(&thread);
    connect(copier, &common::FileCopier::progress, this, [this](int current, int total) {
        bar->setRange(0, total);
        bar->setValue(current);
        status->setText(tr("%1 of %2 files").arg(current).arg(total));
    });
    connect(copier, &common::FileCopier::succesed, this,
            [this] { End(tr("Copied to %1").arg(QDir::toNativeSeparators(folder))); });
    connect(copier, &common::FileCopier::failed, this,
            [this](int error, const QString& text) { End(tr("Error %1: %2").arg(error).arg(text)); });
    button->setText(tr("Abor&t"));
    bar->setRange(0, 0);
    status->setText(tr("Looking for files…"));
    QMetaObject::invokeMethod(copier, [running = copier] { running->Copy(); });
}

void CopyRow::End(const QString& text)
{
    if (bar->maximum() == 0) {
        bar->setRange(0, 1);
    }
    button->setText(tr("Cop&y"));
    button->setEnabled(true);
    status->setText(text);
    copier->deleteLater();
    copier = nullptr;
    Q_EMIT ended();
}

} // namespace vxphone
