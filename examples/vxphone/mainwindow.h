#pragma once

#include "phonebook.h"

#include <QDir>
#include <QMainWindow>
#include <QSettings>
#include <QSharedPointer>
#include <QThreadPool>
#include <QTimeLine>

#include <optional>

class QLabel;
class QSplitter;
class QtSingleApplication;

namespace common
{
class IdleWatcher;
}

class CallBanner;
class DialPanel;
class PeoplePanel;
class TransferPanel;

/// The window: contacts and recent calls on the left; call, chat and transfers on the right.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// @param dataFolder the directory for everything that the program keeps
    MainWindow(QtSingleApplication& application, const QDir& dataFolder, QWidget* logPane);

    /// Offers an address for a call, from the chat, the command line or another process. Any process of the
    /// user may have sent it. Ignores an empty one.
    void TakeAddress(const QString& link);
    /// Calls an address, or does so after the running call.
    void Call(const QString& address);

protected:
    void closeEvent(QCloseEvent* event) override; ///< Waits for the current file of a running copy.

private:
    /// As ClickToCall::registerProtocols.
    using SchemeChange = bool (*)(const QStringList& schemes, const QString& application,
                                  const QString& organization);

    QWidget* CreateContents(PeoplePanel* people);
    void CreateMenus(const QList<QAction*>& editActions, QAction* showLog);
    void CreateIcon(QtSingleApplication& application);
    void RestoreGeometry();
    void AddContact(const QString& address);
    void AskForDownload();
    void AskForFolder();
    std::optional<QString> AskForText(const QString& title, const QString& label, const QString& text = {});
    void EndCall(int seconds);
    void FadeIcon(QTimeLine::Direction direction);
    void ChangeSchemes(SchemeChange change);

    QSettings settings;
    PhoneBook book;
    DialPanel* dialPanel;
    CallBanner* banner;
    TransferPanel* transfers;
    QSplitter* splitter;
    QLabel* schemeState;
    QAction* downloadAction;
    QAction* copyAction;
    QSharedPointer<common::IdleWatcher> idleWatcher;
    QTimeLine iconFade;
    QThreadPool schemeWorker; ///< Of one thread, so that changes come one after the other.
    QString called;           ///< The address of the running call.
    QString next;             ///< The address to offer after it.
    bool closing = false;     ///< As soon as the copy has ended.
};
