#pragma once

#include <QDir>
#include <QMainWindow>
#include <QSharedPointer>
#include <QThreadPool>
#include <QTimeLine>

class QLabel;
class QtSingleApplication;

namespace common
{
class IdleWatcher;
}

namespace vxphone
{

class DialPanel;
class TransferRow;

/// The window: contacts on the left; dialling, chat and transfers on the right; the log below.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// @param dataFolder where contacts and files are kept
    MainWindow(QtSingleApplication& application, const QDir& dataFolder, QWidget* logPane);

    /// An address to call, from the chat, the command line or another process; empty to come to the front
    /// only.
    void TakeAddress(const QString& address);

protected:
    void closeEvent(QCloseEvent* event) override; ///< A running copy is aborted first.

private:
    /// As ClickToCall::registerProtocols.
    using SchemeChange = bool (*)(const QStringList& schemes, const QString& application,
                                  const QString& organization);

    QWidget* CreateContents(const QDir& dataFolder);
    QWidget* CreateTransfers(const QDir& dataFolder);
    void CreateMenus(QAction* showLog);
    void CreateIcon(QtSingleApplication& application);
    void ShowCall(bool inCall, const QString& text);
    void ChangeSchemes(SchemeChange change);

    DialPanel* dialPanel;
    TransferRow* copyRow = nullptr;
    QLabel* schemeState;
    QLabel* waiting; ///< Tells of an address that came during the call.
    QSharedPointer<common::IdleWatcher> idleWatcher;
    QTimeLine iconFade;
    QThreadPool schemeWorker; ///< Of one thread, so that changes come one after the other.
    bool closing = false;     ///< As soon as the copy has ended.
};

} // namespace vxphone
