#pragma once

#include <QMainWindow>

class QDockWidget;
class QLabel;
class QSystemTrayIcon;

namespace vxphone
{

class CallIcon;
class DialPanel;
class LogPane;
class SchemeRegistration;
class TransferRow;

/// The window: contacts on the left; dialling, chat and transfers on the right; the log below.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// @param dataFolder where contacts and files are kept
    MainWindow(const QString& dataFolder, LogPane* log, bool dark);

    /// An address to call, from the chat, the command line or another process; empty to come to the front
    /// only.
    void TakeAddress(const QString& address);

protected:
    void closeEvent(QCloseEvent* event) override; ///< A running copy is aborted first.

private:
    QWidget* CreateContents(const QString& dataFolder);
    QWidget* CreateTransfers(const QString& dataFolder);
    void CreateMenus(QDockWidget* logDock, bool dark);
    void CreateIcon();

    DialPanel* dialPanel;
    TransferRow* copyRow = nullptr;
    CallIcon* callIcon;
    QLabel* waiting; ///< Tells of an address that came during the call.
    SchemeRegistration* registration;
    QSystemTrayIcon* tray = nullptr;
    bool closing = false; ///< As soon as the copy has ended.
};

} // namespace vxphone
