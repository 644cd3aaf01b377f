#include "mainwindow.h"

#include "transfers.h"

#include <common/tools/sleepwatcher.h>
#include <common/tools/svgicon.h>

#include <QCloseEvent>
#include <QCoreApplication>
#include <QFileDialog>
#include <QMenuBar>
#include <QMessageBox>
#include <QScreen>
#include <QSplitter>
#include <QUrl>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

MainWindow::MainWindow(const QDir& dataFolder, QWidget* logPane)
    : settings(dataFolder.filePath(u"window.ini"_s), QSettings::IniFormat)
    , book(dataFolder.filePath(u"contacts.json"_s))
    , banner(new CallBanner(book))
    , transfers(new TransferPanel(dataFolder))
{
    auto* const people = CreatePeoplePanel(book, *banner);
    setWindowTitle(tr("vxphone"));
    setWindowIcon(tools::svg::SvgIcon::CreateFromSvg(u":/icons/vxphone.svg"_s));
    setStatusBar(CreateStatusLine());
    CreateContents(people, logPane);
    CreateMenus(people->actions(), logPane);
    connect(&book, &PhoneBook::contactRemoved, this, [this](const QString& name) {
        statusBar()->showMessage(tr("%1 deleted. Press Ctrl+Z to undo.").arg(name), 10'000);
    });
    // The signal is emitted on another thread; the receiver's thread runs the slot.
    connect(tools::SleepWatcher::instance(), &tools::SleepWatcher::sleep, banner, &CallBanner::HangUp);

    constexpr double shareOfScreen = 0.9; // Leaves room for the window frame and the desktop's panels.
    resize(QSize(960, 680).boundedTo(screen()->availableSize() * shareOfScreen));
    restoreGeometry(settings.value(u"geometry"_s).toByteArray());
}

void MainWindow::CreateContents(QWidget* people, QWidget* logPane)
{
    auto* const dialPanel = CreateDialPanel(book, *banner);
    auto* const chat = CreateChatPanel(*banner);
    auto* const column = new QWidget;
    auto* const layout = new QVBoxLayout(column);
    layout->setContentsMargins(12, 12, 12, 6);
    layout->setSpacing(12);
    for (QWidget* const widget : QWidgetList{banner, dialPanel, chat, transfers, logPane}) {
        layout->addWidget(widget, widget == chat ? 1 : 0);
    }
    logPane->hide();

    auto* const splitter = new QSplitter;
    splitter->addWidget(people);
    splitter->addWidget(column);
    splitter->setSizes({300, 700});
    setCentralWidget(splitter);
    dialPanel->setFocus();
}

void MainWindow::CreateMenus(const QList<QAction*>& editActions, QWidget* logPane)
{
    QMenu* const phone = menuBar()->addMenu(tr("&Phone"));
    phone->addActions(statusBar()->actions());
    phone->addSeparator();
    phone->addAction(tr("&Quit"), Qt::CTRL | Qt::Key_Q, this, &QWidget::close);
    menuBar()->addMenu(tr("&Edit"))->addActions(editActions);
    QMenu* const files = menuBar()->addMenu(tr("&Transfers"));
    files->addAction(tr("&Download a file…"), Qt::CTRL | Qt::Key_D, this, &MainWindow::AskForDownload);
    files->addAction(tr("&Back up a folder…"), Qt::CTRL | Qt::Key_B, this, &MainWindow::AskForFolder);
    QMenu* const view = menuBar()->addMenu(tr("&View"));
    view->addAction(tr("&Log"), Qt::Key_F12, logPane, &QWidget::setVisible)->setCheckable(true);
    menuBar()->addMenu(tr("&Help"))->addAction(tr("&About vxphone"), this, [this] {
        QMessageBox::about(this, tr("About vxphone"),
                           tr("<h3>vxphone %1</h3>A miniature softphone window. Its calls are simulated.")
                               .arg(QCoreApplication::applicationVersion()));
    });
}

void MainWindow::AskForDownload()
{
    const QString text = AskForText(this, tr("Download"), tr("Web address of the file:"));
    const QUrl url = QUrl::fromUserInput(text);
    if (!url.host().isEmpty()) {
        transfers->Download(url);
    } else if (!text.isEmpty()) {
        QMessageBox::warning(this, tr("Download"), tr("This is not a web address."));
    }
}

void MainWindow::AskForFolder()
{
    const QString folder = QFileDialog::getExistingDirectory(this, tr("Back up a folder"), QDir::homePath());
    if (!QFileInfo(folder).fileName().isEmpty()) {
        transfers->Copy(folder);
    }
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    if (!transfers->Stop()) { // Keep the window open until all transfers have ended.
        connect(transfers, &TransferPanel::ended, this, &QWidget::close, Qt::SingleShotConnection);
        event->ignore();
        return;
    }
    banner->HangUp();
    settings.setValue(u"geometry"_s, saveGeometry());
}
