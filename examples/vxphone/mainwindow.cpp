#include "mainwindow.h"

#include "address.h"
#include "panels.h"
#include "transfers.h"
#include "widgets.h"

#include <common/clicktocall/clicktocall.h>
#include <common/idle/idlewatcher.h>
#include <common/logger/logger.h>
#include <common/singleapp/qtsingleapplication.h>
#include <common/tools/sleepwatcher.h>
#include <common/tools/svgicon.h>

#include <QCloseEvent>
#include <QDockWidget>
#include <QFileDialog>
#include <QInputDialog>
#include <QMenuBar>
#include <QMessageBox>
#include <QScreen>
#include <QSettings>
#include <QSplitter>
#include <QStatusBar>
#include <QSystemTrayIcon>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;
using namespace common::logger;
using common::ClickToCall;

namespace
{

bool StopHandling(const QStringList& schemes, const QString& application, const QString& organization)
{
    const bool done = ClickToCall::unregisterProtocols(schemes, application, organization);
    return ClickToCall::unregisterApplication(application, organization) && done;
}

} // namespace

MainWindow::MainWindow(QtSingleApplication& application, const QDir& dataFolder, QWidget* logPane)
    : settings(dataFolder.filePath(u"window.ini"_s), QSettings::IniFormat)
    , book(dataFolder.filePath(u"contacts.json"_s))
    , dialPanel(new DialPanel(book))
    , banner(new CallBanner)
    , transfers(new TransferPanel(dataFolder))
    , splitter(new QSplitter)
    , schemeState(new QLabel)
    , downloadAction(new QAction(SymbolIcon(u"download"_s), tr("&Download a file…"), this))
    , copyAction(new QAction(SymbolIcon(u"folder"_s), tr("&Back up a folder…"), this))
    , idleWatcher(common::IdleWatcher::instance())
{
    auto* const people = new PeoplePanel(book);
    setWindowTitle(tr("vxphone"));
    setCentralWidget(CreateContents(people));
    auto* const logDock = new QDockWidget(tr("Log"), this);
    logDock->setObjectName(u"log"_s);
    logDock->setWidget(logPane);
    addDockWidget(Qt::BottomDockWidgetArea, logDock);
    logDock->hide();
    setStatusBar(CreateStatusLine(*idleWatcher, schemeState));
    schemeWorker.setMaxThreadCount(1);
    ChangeSchemes(nullptr);
    CreateMenus(people->actions(), logDock->toggleViewAction());
    CreateIcon(application);

    connect(people, &PeoplePanel::callAsked, this, &MainWindow::Call);
    connect(dialPanel, &DialPanel::callAsked, this, &MainWindow::Call);
    connect(dialPanel, &DialPanel::addAsked, this, &MainWindow::AddContact);
    connect(banner, &CallBanner::ended, this, &MainWindow::EndCall);
    connect(transfers, &TransferPanel::idle, this, [this] {
        if (closing) {
            close();
        }
    });
    // The signal comes from a thread of the system.
    connect(tools::SleepWatcher::instance(), &tools::SleepWatcher::sleep, banner, &CallBanner::HangUp);
    RestoreGeometry();
    dialPanel->setFocus();
}

QWidget* MainWindow::CreateContents(PeoplePanel* people)
{
    constexpr int margin = 12;
    auto* const work = new QWidget;
    auto* const layout = new QVBoxLayout(work);
    layout->setContentsMargins(margin, margin, margin, margin / 2);
    layout->setSpacing(margin);
    layout->addWidget(banner);
    layout->addWidget(dialPanel);
    layout->addWidget(
        CreateChatPanel({downloadAction, copyAction}, [this](const QString& link) { TakeAddress(link); }), 1);
    layout->addWidget(transfers);
    people->layout()->setContentsMargins(margin, margin, 0, margin / 2);
    splitter->addWidget(people);
    splitter->addWidget(work);
    splitter->setStretchFactor(1, 1);
    splitter->setChildrenCollapsible(false);
    return splitter;
}

void MainWindow::CreateMenus(const QList<QAction*>& editActions, QAction* showLog)
{
    QMenu* const phone = menuBar()->addMenu(tr("&Phone"));
    phone->addAction(tr("&Open call links with vxphone"), this,
                     [this] { ChangeSchemes(&ClickToCall::registerProtocols); });
    phone->addAction(tr("&Stop handling call links"), this, [this] { ChangeSchemes(&StopHandling); });
    phone->addSeparator();
    phone->addAction(tr("&Quit"), Qt::CTRL | Qt::Key_Q, this, &QWidget::close);
    menuBar()->addMenu(tr("&Edit"))->addActions(editActions);

    downloadAction->setShortcut(Qt::CTRL | Qt::Key_D);
    copyAction->setShortcut(Qt::CTRL | Qt::Key_B);
    menuBar()->addMenu(tr("&Transfers"))->addActions({downloadAction, copyAction});
    connect(downloadAction, &QAction::triggered, this, &MainWindow::AskForDownload);
    connect(copyAction, &QAction::triggered, this, &MainWindow::AskForFolder);

    showLog->setText(tr("&Log"));
    showLog->setShortcut(Qt::Key_F12);
    menuBar()->addMenu(tr("&View"))->addAction(showLog);
    menuBar()->addMenu(tr("&Help"))->addAction(tr("&About vxphone"), this, [this] {
        QMessageBox::about(
            this, tr("About vxphone"),
            tr("<h3>vxphone %1</h3><p>A miniature softphone window that shows what vxcommon is for. "
               "Its calls are simulated: it sends no sound and reaches nobody.</p>"
               "<p>MIT licence</p>")
                .arg(QCoreApplication::applicationVersion()));
    });
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
    const QString rest = u":/icons/vxphone.svg"_s;
    const QString call = u":/icons/vxphone-call.svg"_s;
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

void MainWindow::RestoreGeometry()
{
    constexpr double shareOfScreen = 0.9; // The rest is for the frame and the desktop's bars.
    resize(QSize(960, 680).boundedTo(screen()->availableSize() * shareOfScreen));
    const int left = qMax(width() / 4, 220);
    splitter->setSizes({left, width() - left});
    restoreGeometry(settings.value(u"geometry"_s).toByteArray());
    restoreState(settings.value(u"state"_s).toByteArray());
    splitter->restoreState(settings.value(u"splitter"_s).toByteArray());
}

void MainWindow::TakeAddress(const QString& link)
{
    constexpr qsizetype maxLength = 2048;
    const bool isPlain = std::all_of(link.begin(), link.end(), [](QChar c) { return c.isPrint(); });
    if (link.size() > maxLength || !isPlain) {
        LOG_MESSAGE(Warn) << "a text of " << link.size() << " characters is no address to call";
    } else if (!link.isEmpty()) {
        LOG_MESSAGE(Info) << "address to call: " << link;
        const QString address = PlainAddress(link);
        if (banner->IsInCall()) {
            Call(address);
        } else {
            dialPanel->SetAddress(address);
        }
    }
}

void MainWindow::Call(const QString& address)
{
    if (!banner->IsInCall()) {
        LOG_MESSAGE(Info) << "simulated call to " << address;
        called = address;
        book.BeginCall(address);
        banner->Begin(book.NameOf(address), ReadAddress(address).shown);
        dialPanel->hide();
        setWindowTitle(tr("%1 – vxphone").arg(book.NameOf(address)));
        FadeIcon(QTimeLine::Forward);
    } else if (AddressKey(address) != AddressKey(called)) {
        next = address;
        banner->ShowNext(book.NameOf(address));
    }
}

void MainWindow::EndCall(int seconds)
{
    LOG_MESSAGE(Info) << "end of the call to " << called << " after " << seconds << " s";
    book.EndCall(seconds);
    setWindowTitle(tr("vxphone"));
    FadeIcon(QTimeLine::Backward);
    dialPanel->show();
    dialPanel->SetAddress(std::exchange(next, QString()));
}

void MainWindow::FadeIcon(QTimeLine::Direction direction)
{
    iconFade.setDirection(direction);
    if (iconFade.state() != QTimeLine::Running) {
        iconFade.resume();
    }
}

/// Returns what the user entered, or nothing if he cancelled.
std::optional<QString> MainWindow::AskForText(const QString& title, const QString& label, const QString& text)
{
    QInputDialog dialog(this);
    dialog.setWindowTitle(title);
    dialog.setLabelText(label);
    dialog.setOkButtonText(title);
    dialog.setTextValue(text);
    dialog.resize(width() / 2, 0);
    return dialog.exec() == QDialog::Accepted ? std::optional(dialog.textValue().trimmed()) : std::nullopt;
}

void MainWindow::AddContact(const QString& address)
{
    const QString title = tr("Add contact");
    if (const Contact* const known = book.Find(address); known != nullptr) {
        QMessageBox::information(
            this, title, tr("%1 is in your contacts already, as %2.").arg(address, known->ShownName()));
    } else if (const auto name = AskForText(title, tr("Name for %1:").arg(ReadAddress(address).shown))) {
        book.AddContact({*name, address});
    }
}

void MainWindow::AskForDownload()
{
    const auto text = AskForText(tr("Download"), tr("Web address of the file:"), u"https://"_s);
    const QUrl url = QUrl::fromUserInput(text.value_or(QString()));
    if (!url.host().isEmpty()) {
        transfers->Download(url);
    } else if (text) {
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

/// Makes the program the handler of call links, or no longer, and shows which it handles. In the background:
/// the desktop may be slow.
void MainWindow::ChangeSchemes(SchemeChange change)
{
    const QString application = QCoreApplication::applicationName();
    const QString organization = QCoreApplication::organizationName();
    schemeWorker.start([this, change, application, organization] {
        const QStringList offered = ClickToCall::currentAvailableProtocols();
        if (change != nullptr && !change(offered, application, organization)) {
            LOG_MESSAGE(Error) << "the call links could not be changed";
        }
        const QStringList own = ClickToCall::stateOfProtocols(application, organization);
        const QString text =
            own.isEmpty() ? tr("No call links") : tr("Call links: %1").arg(own.join(u", "_s));
        QMetaObject::invokeMethod(this, [this, text] { schemeState->setText(text); });
    });
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    // The window stays as long as the program does.
    closing = !transfers->Stop();
    if (closing) {
        event->ignore();
        return;
    }
    banner->HangUp();
    settings.setValue(u"geometry"_s, saveGeometry());
    settings.setValue(u"state"_s, saveState());
    settings.setValue(u"splitter"_s, splitter->saveState());
}
