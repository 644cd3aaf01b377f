#include "mainwindow.h"

#include "appearance.h"
#include "logpane.h"
#include "panels.h"
#include "schemeregistration.h"
#include "statusline.h"
#include "transfers.h"

#include <common/logger/logger.h>

#include <QCloseEvent>
#include <QDir>
#include <QDockWidget>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QMenuBar>
#include <QSplitter>
#include <QSystemTrayIcon>
#include <QVBoxLayout>

#include <algorithm>

namespace vxphone
{

namespace
{

constexpr common::logger::Channel logChannel{"vxphone"};

} // namespace

MainWindow::MainWindow(const QString& dataFolder, LogPane* log, bool dark)
    : dialPanel(new DialPanel)
    , callIcon(new CallIcon(this))
    , waiting(new QLabel)
    , registration(new SchemeRegistration(this))
{
    setWindowTitle(tr("vxphone"));
    setCentralWidget(CreateContents(dataFolder));

    auto* const logDock = new QDockWidget(tr("Log"), this);
    logDock->setObjectName(QStringLiteral("log"));
    logDock->setWidget(log);
    addDockWidget(Qt::BottomDockWidgetArea, logDock);

    auto* const status = new StatusLine;
    setStatusBar(status);
    waiting->setTextFormat(Qt::PlainText);
    waiting->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    status->addWidget(waiting, 1);
    connect(registration, &SchemeRegistration::stateFound, status, &StatusLine::ShowSchemes);
    registration->Refresh();

    CreateMenus(logDock, dark);
    CreateIcon();
    resize(940, 720);
    resizeDocks({logDock}, {130}, Qt::Vertical);
    dialPanel->setFocus();
}

QWidget* MainWindow::CreateContents(const QString& dataFolder)
{
    auto* const contacts = new ContactPanel(QDir(dataFolder).filePath(QStringLiteral("contacts.json")));
    connect(contacts, &ContactPanel::chosen, dialPanel, &DialPanel::SetAddress);
    connect(dialPanel, &DialPanel::keepAsked, contacts, &ContactPanel::Add);
    connect(dialPanel, &DialPanel::addressWaits, this, [this](const QString& address) {
        waiting->setText(tr("Waits for the end of this call: %1").arg(address));
    });
    connect(dialPanel, &DialPanel::callChanged, this, [this](bool inCall, const QString& text) {
        callIcon->SetInCall(inCall);
        waiting->clear();
        setWindowTitle(inCall ? tr("%1 – vxphone").arg(text) : tr("vxphone"));
        LOG_MESSAGE(common::logger::Info) << (inCall ? "call to " : "end of the call to ") << text;
    });

    auto* const work = new QWidget;
    auto* const layout = new QVBoxLayout(work);
    layout->setSpacing(2 * layout->spacing());
    layout->addWidget(dialPanel);
    layout->addWidget(CreateChatPanel([this](const QString& link) { TakeAddress(link); }), 1);
    layout->addWidget(CreateTransfers(dataFolder));
    auto* const splitter = new QSplitter;
    splitter->addWidget(contacts);
    splitter->addWidget(work);
    splitter->setStretchFactor(1, 1);
    splitter->setChildrenCollapsible(false);
    splitter->setSizes({220, 720});
    return splitter;
}

QWidget* MainWindow::CreateTransfers(const QString& dataFolder)
{
    auto* const group = new QGroupBox(tr("Transfers"));
    auto* const grid = new QGridLayout(group);
    grid->setColumnStretch(1, 3);
    grid->setColumnStretch(2, 2);
    CreateDownloadRow(grid, QDir(dataFolder).filePath(QStringLiteral("downloads")));
    copyRow = CreateCopyRow(grid, QDir(dataFolder).filePath(QStringLiteral("backup")));
    connect(copyRow, &TransferRow::ended, this, [this] {
        if (closing) {
            close();
        }
    });
    return group;
}

void MainWindow::CreateMenus(QDockWidget* logDock, bool dark)
{
    QMenu* const phone = menuBar()->addMenu(tr("&Phone"));
    phone->addAction(tr("&Open call links with this program"), registration, &SchemeRegistration::Register);
    phone->addAction(tr("&Give call links up"), registration, &SchemeRegistration::Unregister);
    phone->addSeparator();
    phone->addAction(tr("&Quit"), QKeySequence::Quit, this, &QWidget::close);

    QMenu* const view = menuBar()->addMenu(tr("&View"));
    QAction* const showLog = logDock->toggleViewAction();
    showLog->setText(tr("&Log"));
    showLog->setShortcut(Qt::Key_F12);
    view->addAction(showLog);
    QAction* const darkColours = view->addAction(tr("&Dark colours"));
    darkColours->setCheckable(true);
    darkColours->setChecked(dark);
    connect(darkColours, &QAction::toggled, this, &ApplyColours);
}

void MainWindow::CreateIcon()
{
    setWindowIcon(callIcon->Current());
    connect(callIcon, &CallIcon::changed, this, &QWidget::setWindowIcon);
    if (QSystemTrayIcon::isSystemTrayAvailable()) {
        tray = new QSystemTrayIcon(callIcon->Current(), this);
        connect(callIcon, &CallIcon::changed, tray, &QSystemTrayIcon::setIcon);
        connect(tray, &QSystemTrayIcon::activated, this, [this] { activateWindow(); });
        tray->show();
    }
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    closing = copyRow->IsRunning();
    if (closing) {
        // The window stays as long as the program does: the file at hand is copied to its end.
        copyRow->Abort();
        event->ignore();
    }
}

void MainWindow::TakeAddress(const QString& address)
{
    // Any process of the user may have sent it.
    constexpr qsizetype maxLength = 2048;
    const bool isPlain = std::all_of(address.begin(), address.end(), [](QChar c) { return c.isPrint(); });
    if (address.size() > maxLength || !isPlain) {
        LOG_MESSAGE(common::logger::Warn)
            << "a text of " << address.size() << " characters is no address to call";
    } else if (!address.isEmpty()) {
        LOG_MESSAGE(common::logger::Info) << "address to call: " << address;
        dialPanel->SetAddress(address);
    }
}

} // namespace vxphone
