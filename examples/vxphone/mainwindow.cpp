#include "mainwindow.h"

#include "panels.h"
#include "transfers.h"

#include <common/clicktocall/clicktocall.h>
#include <common/idle/idlewatcher.h>
#include <common/logger/logger.h>
#include <common/singleapp/qtsingleapplication.h>
#include <common/tools/svgicon.h>

#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QMenuBar>
#include <QPalette>
#include <QSplitter>
#include <QStatusBar>
#include <QSystemTrayIcon>
#include <QVBoxLayout>

#include <algorithm>

namespace vxphone
{

namespace
{

using common::ClickToCall;

constexpr common::logger::Channel logChannel{"vxphone"};

bool GiveSchemesUp(const QStringList& schemes, const QString& application, const QString& organization)
{
    const bool done = ClickToCall::unregisterProtocols(schemes, application, organization);
    return ClickToCall::unregisterApplication(application, organization) && done;
}

/// Dresses the whole program in light or dark colours, in place of the desktop's own.
void ApplyColours(bool dark)
{
    const QColor window = dark ? QColor(0x3c, 0x40, 0x46) : QColor(0xef, 0xef, 0xef);
    const QColor button = dark ? QColor(0x52, 0x57, 0x5f) : window;
    QPalette palette(button, window);
    if (dark) {
        // Frames are a darker shade of the window, so what they enclose has to differ from that.
        palette.setColor(QPalette::Base, QColor(0x1b, 0x1d, 0x21));
        palette.setColor(QPalette::Link, QColor(0x6f, 0xb3, 0xff));
    }
    palette.setColor(QPalette::Highlight, QColor(0x2f, 0x6f, 0xb5));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, role, QColor(0x8a, 0x90, 0x97));
    }
    // The style that follows a palette in every colour, on all platforms.
    QApplication::setStyle(QStringLiteral("Fusion"));
    QApplication::setPalette(palette);
}

} // namespace

MainWindow::MainWindow(QtSingleApplication& application, const QDir& dataFolder, QWidget* logPane)
    : dialPanel(new DialPanel)
    , schemeState(new QLabel)
    , waiting(new QLabel)
    , idleWatcher(common::IdleWatcher::instance())
{
    setWindowTitle(tr("vxphone"));
    setCentralWidget(CreateContents(dataFolder));

    auto* const logDock = new QDockWidget(tr("Log"), this);
    logDock->setObjectName(QStringLiteral("log"));
    logDock->setWidget(logPane);
    addDockWidget(Qt::BottomDockWidgetArea, logDock);

    setStatusBar(CreateStatusLine(*idleWatcher, schemeState));
    waiting->setTextFormat(Qt::PlainText);
    waiting->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    statusBar()->addWidget(waiting, 1);
    schemeWorker.setMaxThreadCount(1);
    ChangeSchemes(nullptr);

    CreateMenus(logDock->toggleViewAction());
    CreateIcon(application);
    resize(940, 720);
    resizeDocks({logDock}, {130}, Qt::Vertical);
    dialPanel->setFocus();
}

QWidget* MainWindow::CreateContents(const QDir& dataFolder)
{
    auto* const contacts = new ContactPanel(dataFolder.filePath(QStringLiteral("contacts.json")));
    connect(contacts, &ContactPanel::chosen, dialPanel, &DialPanel::SetAddress);
    connect(dialPanel, &DialPanel::keepAsked, contacts, &ContactPanel::Add);
    connect(dialPanel, &DialPanel::addressWaits, this, [this](const QString& address) {
        waiting->setText(tr("Waits for the end of this call: %1").arg(address));
    });
    connect(dialPanel, &DialPanel::callChanged, this, &MainWindow::ShowCall);

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

QWidget* MainWindow::CreateTransfers(const QDir& dataFolder)
{
    auto* const group = new QGroupBox(tr("Transfers"));
    auto* const grid = new QGridLayout(group);
    grid->setColumnStretch(1, 3);
    grid->setColumnStretch(2, 2);
    CreateDownloadRow(grid, dataFolder.filePath(QStringLiteral("downloads")));
    copyRow = CreateCopyRow(grid, dataFolder.filePath(QStringLiteral("backup")));
    connect(copyRow, &TransferRow::ended, this, [this] {
        if (closing) {
            close();
        }
    });
    return group;
}

void MainWindow::CreateMenus(QAction* showLog)
{
    QMenu* const phone = menuBar()->addMenu(tr("&Phone"));
    phone->addAction(tr("&Open call links with this program"), this,
                     [this] { ChangeSchemes(&ClickToCall::registerProtocols); });
    phone->addAction(tr("&Give call links up"), this, [this] { ChangeSchemes(&GiveSchemesUp); });
    phone->addSeparator();
    phone->addAction(tr("&Quit"), Qt::CTRL | Qt::Key_Q, this, &QWidget::close);

    QMenu* const view = menuBar()->addMenu(tr("&View"));
    showLog->setText(tr("&Log"));
    showLog->setShortcut(Qt::Key_F12);
    view->addAction(showLog);
    QAction* const darkColours = view->addAction(tr("&Dark colours"));
    darkColours->setCheckable(true);
    darkColours->setChecked(palette().window().color().lightness() <
                            palette().windowText().color().lightness());
    connect(darkColours, &QAction::toggled, this, &ApplyColours);
}

void MainWindow::CreateIcon(QtSingleApplication& application)
{
    auto* const tray = new QSystemTrayIcon(this);
    connect(tray, &QSystemTrayIcon::activated, &application,
            [&application](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger) {
                    application.activateWindow();
                }
            });

    constexpr int fadeSteps = 12;
    constexpr int fadeDuration = 500; // Milliseconds.
    using tools::svg::SvgIcon;
    const QString rest = QStringLiteral(":/icons/phone.svg");
    const QString call = QStringLiteral(":/icons/phone-call.svg");
    const auto frames = QList<QIcon>{SvgIcon::CreateFromSvg(rest)} +
                        SvgIcon::CreateFromTwoSvgWithOverlay(rest, call, fadeSteps);
    const auto show = [this, tray, frames](int frame) {
        setWindowIcon(frames.at(frame));
        tray->setIcon(frames.at(frame));
    };
    iconFade.setDuration(fadeDuration);
    iconFade.setFrameRange(0, fadeSteps);
    connect(&iconFade, &QTimeLine::frameChanged, this, show);
    show(0);
    tray->show(); // Or as soon as the desktop has a place for it.
}

void MainWindow::ShowCall(bool inCall, const QString& text)
{
    iconFade.setDirection(inCall ? QTimeLine::Forward : QTimeLine::Backward);
    if (iconFade.state() != QTimeLine::Running) {
        iconFade.resume();
    }
    setWindowTitle(inCall ? tr("%1 – vxphone").arg(text) : tr("vxphone"));
    waiting->clear();
    LOG_MESSAGE(common::logger::Info) << (inCall ? "call to " : "end of the call to ") << text;
}

/// Makes the program the handler of call links, or no longer, and shows what it is the handler of. In the
/// background: the desktop may be slow.
void MainWindow::ChangeSchemes(SchemeChange change)
{
    const QString application = QCoreApplication::applicationName();
    const QString organization = QCoreApplication::organizationName();
    schemeWorker.start([this, change, application, organization] {
        const QStringList offered = ClickToCall::currentAvailableProtocols();
        if (change != nullptr && !change(offered, application, organization)) {
            LOG_MESSAGE(common::logger::Error) << "the call links could not be changed";
        }
        const QStringList own = ClickToCall::stateOfProtocols(application, organization);
        const QString text =
            own.isEmpty() ? tr("No call links") : tr("Call links: %1").arg(own.join(QStringLiteral(", ")));
        QMetaObject::invokeMethod(this, [this, text] { schemeState->setText(text); });
    });
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
