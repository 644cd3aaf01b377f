#include "mainwindow.h"

#include "panels.h"
#include "transfers.h"

#include <common/logger/logger.h>
#include <common/tools/sleepwatcher.h>
#include <common/tools/svgicon.h>

#include <QCloseEvent>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QDockWidget>
#include <QFileDialog>
#include <QInputDialog>
#include <QMenuBar>
#include <QMessageBox>
#include <QScreen>
#include <QVBoxLayout>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;
using namespace common::logger;

/// Schemes of the links that call.
constexpr std::array callSchemes{"tel", "callto", "sip", "sips"};

MainWindow::MainWindow(const QDir& dataFolder, QWidget* logPane)
    : settings(dataFolder.filePath(u"window.ini"_s), QSettings::IniFormat)
    , book(dataFolder.filePath(u"contacts.json"_s))
    , dialPanel(new DialPanel(book))
    , banner(new CallBanner)
    , transfers(new TransferPanel(dataFolder))
    , statusLine(new StatusLine)
{
    auto* const people = new PeoplePanel(book);
    setWindowTitle(tr("vxphone"));
    setWindowIcon(tools::svg::SvgIcon::CreateFromSvg(u":/icons/vxphone.svg"_s));
    constexpr double shareOfScreen = 0.9; // The rest is for the frame and the desktop's bars.
    setCentralWidget(CreateContents());
    setStatusBar(statusLine);
    resize(QSize(960, 680).boundedTo(screen()->availableSize() * shareOfScreen));
    QDockWidget* const peopleDock = AddDock(Qt::LeftDockWidgetArea, u"People"_s, people);
    peopleDock->setTitleBarWidget(new QWidget);
    QDockWidget* const logDock = AddDock(Qt::BottomDockWidgetArea, u"Log"_s, logPane);
    logDock->hide();
    CreateMenus(people->actions(), logDock->toggleViewAction());

    Connect(people);
    resizeDocks({peopleDock}, {width() / 4}, Qt::Horizontal);
    restoreGeometry(settings.value(u"geometry"_s).toByteArray());
    restoreState(settings.value(u"state"_s).toByteArray());
    dialPanel->setFocus();
}

MainWindow::~MainWindow()
{
    for (const char* scheme : callSchemes) {
        QDesktopServices::unsetUrlHandler(QString::fromLatin1(scheme));
    }
}

void MainWindow::Connect(const PeoplePanel* people)
{
    connect(people, &PeoplePanel::callAsked, this, &MainWindow::Call);
    connect(people, &PeoplePanel::contactDeleted, this, [this](const QString& name) {
        constexpr int duration = 10'000; // Milliseconds.
        statusLine->showMessage(tr("%1 deleted. Press Ctrl+Z to undo.").arg(name), duration);
    });
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
    for (const char* scheme : callSchemes) {
        QDesktopServices::setUrlHandler(QString::fromLatin1(scheme), this, "TakeLink");
    }
}

QWidget* MainWindow::CreateContents()
{
    constexpr int margin = 12;
    auto* const contents = new QWidget;
    auto* const layout = new QVBoxLayout(contents);
    layout->setContentsMargins(margin, margin, margin, margin / 2);
    layout->setSpacing(margin);
    layout->addWidget(banner);
    layout->addWidget(dialPanel);
    layout->addWidget(CreateChatPanel(), 1);
    layout->addWidget(transfers);
    return contents;
}

QDockWidget* MainWindow::AddDock(Qt::DockWidgetArea area, const QString& name, QWidget* contents)
{
    auto* const dock = new QDockWidget(name, this);
    dock->setObjectName(name);
    dock->setWidget(contents);
    addDockWidget(area, dock);
    return dock;
}

void MainWindow::CreateMenus(const QList<QAction*>& editActions, QAction* showLog)
{
    QMenu* const phone = menuBar()->addMenu(tr("&Phone"));
    phone->addAction(tr("&Open call links with vxphone"), this, [this] { statusLine->HandleLinks(true); });
    phone->addAction(tr("&Stop handling call links"), this, [this] { statusLine->HandleLinks(false); });
    phone->addSeparator();
    phone->addAction(tr("&Quit"), Qt::CTRL | Qt::Key_Q, this, &QWidget::close);
    menuBar()->addMenu(tr("&Edit"))->addActions(editActions);

    QMenu* const files = menuBar()->addMenu(tr("&Transfers"));
    files->addAction(tr("&Download a file…"), Qt::CTRL | Qt::Key_D, this, &MainWindow::AskForDownload);
    files->addAction(tr("&Back up a folder…"), Qt::CTRL | Qt::Key_B, this, &MainWindow::AskForFolder);

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
    dialPanel->show();
    dialPanel->SetAddress(std::exchange(next, QString()));
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
}
