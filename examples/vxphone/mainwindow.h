#pragma once

#include "phonebook.h"

#include <QDir>
#include <QMainWindow>
#include <QSettings>
#include <QUrl>

#include <optional>

class QDockWidget;

class CallBanner;
class DialPanel;
class PeoplePanel;
class StatusLine;
class TransferPanel;

/// The window: contacts and recent calls on the left; call, chat and transfers on the right.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// @param dataFolder the directory for everything that the program keeps
    MainWindow(const QDir& dataFolder, QWidget* logPane);
    ~MainWindow() override;

    /// Offers an address for a call, from the chat, the command line or another process. Any process of the
    /// user may have sent it. Ignores an empty one.
    void TakeAddress(const QString& link);
    /// Calls an address, or does so after the running call.
    void Call(const QString& address);

public Q_SLOTS:
    void TakeLink(const QUrl& link) { TakeAddress(link.toString()); } ///< From QDesktopServices.

protected:
    void closeEvent(QCloseEvent* event) override; ///< Waits for the current file of a running copy.

private:
    void Connect(const PeoplePanel* people);
    QWidget* CreateContents();
    QDockWidget* AddDock(Qt::DockWidgetArea area, const QString& name, QWidget* contents);
    void CreateMenus(const QList<QAction*>& editActions, QAction* showLog);
    void AddContact(const QString& address);
    void AskForDownload();
    void AskForFolder();
    std::optional<QString> AskForText(const QString& title, const QString& label, const QString& text = {});
    void EndCall(int seconds);

    QSettings settings;
    PhoneBook book;
    DialPanel* dialPanel;
    CallBanner* banner;
    TransferPanel* transfers;
    StatusLine* statusLine;
    QString called;       ///< The address of the running call.
    QString next;         ///< The address to offer after it.
    bool closing = false; ///< As soon as the copy has ended.
};
