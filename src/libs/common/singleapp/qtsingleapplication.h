#pragma once

#include <common/vxcommon_export.h>

#include <QApplication>
#include <QPointer>
#include <QString>
#include <QWidget>

class QtLocalPeer;

/**
 * An application object for a program that runs once per user. It detects another running process of the
 * program, sends messages to it, and brings a window to the front when a message arrives.
 *
 * @code
 * QtSingleApplication application(QStringLiteral("vexline"), argc, argv);
 * if (application.isRunning() && application.sendMessage(arguments)) {
 *     return 0;
 * }
 * if (application.isRunning()) {
 *     return 1; // The primary instance does not reply.
 * }
 * // This process is the primary instance, perhaps because the previous one has just ended.
 * @endcode
 * Before the first call of isRunning, initialize or sendMessage, the process neither claims to be the primary
 * instance nor receives messages. See QtLocalPeer for the mechanism.
 */
class VXCOMMON_EXPORT QtSingleApplication : public QApplication
{
    Q_OBJECT

public:
    /// Processes of the same executable form a group. `withGui` is passed to QApplication as its flags.
    QtSingleApplication(int& argc, char** argv, bool withGui = true);
    /// Processes with the same `id` form a group.
    QtSingleApplication(const QString& id, int& argc, char** argv);
    ~QtSingleApplication() override; ///< Delivers acknowledged messages that are still pending.

    /// Returns whether another process is the primary instance; if none is, this process becomes primary.
    bool isRunning();
    /// Calls isRunning and ignores its result and the argument.
    void initialize(bool unused = true);

    QString id() const; ///< Returns the id; if none was given, the executable's path in lower case.

    /**
     * Sets the window that activateWindow brings to the front.
     *
     * @param window Not owned. May be null, and may be deleted at any time.
     * @param onMessage Whether each message calls activateWindow. Kept for compatibility: each call with true
     * adds one activation per message.
     */
    void setActivationWindow(QWidget* window, bool onMessage = true);
    QWidget* activationWindow() const; ///< @see setActivationWindow

Q_SIGNALS:
    /// Emitted in the primary instance when a message from another process has been acknowledged.
    void messageReceived(const QString& message);

public Q_SLOTS:
    /// Sends a message to the primary instance, see QtLocalPeer::sendMessage. Returns false in the primary
    /// instance.
    bool sendMessage(const QString& message, int timeout = 5000);
    /// Restores, raises and activates the activation window, if one is set. The window manager decides
    /// whether to bring the window to the front.
    void activateWindow();

private:
    Q_DISABLE_COPY(QtSingleApplication)

    void sysInit(const QString& appId);

    QtLocalPeer* peer = nullptr;
    QPointer<QWidget> activationWidget;
};
