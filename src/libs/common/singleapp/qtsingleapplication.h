#pragma once

#include <common/vxcommon_export.h>

#include <QApplication>
#include <QString>

class QtLocalPeer;

/**
 * An application object that knows whether another process of the same program runs already, can pass it a
 * text, and brings a window to the front when a text arrives.
 *
 * @code
 * QtSingleApplication application(QStringLiteral("vexline"), argc, argv);
 * if (application.isRunning() && application.sendMessage(arguments)) {
 *     return 0;
 * }
 * if (application.isRunning()) {
 *     return 1; // The first process does not answer.
 * }
 * // This is the first process, be it because the one before ended a moment ago.
 * @endcode
 * Until isRunning, initialize or sendMessage was called, the process neither claims to be the first nor
 * receives anything. See QtLocalPeer for how processes meet.
 */
class VXCOMMON_EXPORT QtSingleApplication : public QApplication
{
    Q_OBJECT

public:
    /// Processes of the same executable belong together. `withGui` goes on to QApplication as its flags.
    QtSingleApplication(int& argc, char** argv, bool withGui = true);
    /// Processes with the same `id` belong together.
    QtSingleApplication(const QString& id, int& argc, char** argv);

    /// Whether another process is the first; if none is, this one becomes it.
    bool isRunning();
    /// As isRunning, without an answer. The argument means nothing.
    void initialize(bool unused = true);

    QString id() const; ///< As given or, if none was, the path of the executable in lower case.

    /**
     * Sets the window that activateWindow brings to the front.
     *
     * @param window not owned; must outlive its use. May be null.
     * @param onMessage call activateWindow whenever a text arrives. Each call with true adds one activation
     * for each text; this is meant. A call with false removes all.
     */
    void setActivationWindow(QWidget* window, bool onMessage = true);
    QWidget* activationWindow() const; ///< As set.

Q_SIGNALS:
    /// A text from another process; in the first process only.
    void messageReceived(const QString& message);

public Q_SLOTS:
    /// Hands a text to the first process, see QtLocalPeer::sendMessage. False in the first process.
    bool sendMessage(const QString& message, int timeout = 5000);
    /// Un-minimises, raises and activates the activation window, if there is one. Whether it really comes to
    /// the front is up to the window manager.
    void activateWindow();

private:
    Q_DISABLE_COPY(QtSingleApplication)

    void sysInit(const QString& appId);

    QtLocalPeer* peer = nullptr;
    QWidget* activationWidget = nullptr;
};
