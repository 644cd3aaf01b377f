#include <common/singleapp/qtsingleapplication.h>

#include <common/singleapp/qtlocalpeer.h>

QtSingleApplication::QtSingleApplication(int& argc, char** argv, bool withGui)
    : QApplication(argc, argv, withGui)
{
    sysInit(QString());
}

QtSingleApplication::QtSingleApplication(const QString& id, int& argc, char** argv)
    : QApplication(argc, argv)
{
    sysInit(id);
}

// Deletes the peer while this object can still emit messageReceived.
QtSingleApplication::~QtSingleApplication()
{
    delete peer;
}

bool QtSingleApplication::isRunning()
{
    return peer->isSecondary();
}

void QtSingleApplication::initialize(bool /*unused*/)
{
    isRunning();
}

QString QtSingleApplication::id() const
{
    return peer->applicationId();
}

void QtSingleApplication::setActivationWindow(QWidget* window, bool onMessage)
{
    activationWidget = window;
    if (onMessage) {
        connect(peer, SIGNAL(messageReceived(QString)), this, SLOT(activateWindow()));
    } else {
        disconnect(peer, SIGNAL(messageReceived(QString)), this, SLOT(activateWindow()));
    }
}

QWidget* QtSingleApplication::activationWindow() const
{
    return activationWidget;
}

bool QtSingleApplication::sendMessage(const QString& message, int timeout)
{
    return peer->sendMessage(message, timeout);
}

void QtSingleApplication::activateWindow()
{
    if (!activationWidget.isNull()) {
        activationWidget->setWindowState(activationWidget->windowState() & ~Qt::WindowMinimized);
        activationWidget->raise();
        activationWidget->activateWindow();
    }
}

void QtSingleApplication::sysInit(const QString& appId)
{
    peer = new QtLocalPeer(this, appId);
    connect(peer, SIGNAL(messageReceived(QString)), this, SIGNAL(messageReceived(QString)));
}
