#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QString>

namespace common::platform
{

/**
 * Returns whether this process can start a thread with an event loop at the moment. Check before you start a
 * D-Bus thread or wait for one: Qt waits forever for some threads that could not start. The check starts a
 * thread itself, which may take a few tenths of a millisecond.
 */
bool CanStartThread();

/**
 * A connection to a message bus with a timeout for every wait.
 *
 * If the bus accepts the connection but never responds, QDBusConnection::connectToBus waits forever and later
 * prevents the program from exiting. A peer connection does not wait. The call "Hello", with a timeout like
 * any other call, makes it a bus connection. It must subscribe to the signals of the bus explicitly.
 */
class BusConnection
{
public:
    BusConnection(const QString& address, const QDeadlineTimer& deadline);
    ~BusConnection(); ///< No signal is delivered after destruction.

    static QString SessionBusAddress();
    static QString SystemBusAddress();

    bool IsOpen() const { return open; }
    QDBusConnection& Connection() { return connection; }

    /// Returns the reply, or an error message.
    QDBusMessage Call(const QDBusMessage& message, const QDeadlineTimer& deadline);
    /// Calls a method of the bus itself.
    QDBusMessage CallBus(const QString& method, const QVariantList& arguments,
                         const QDeadlineTimer& deadline);

private:
    Q_DISABLE_COPY(BusConnection)

    QString name; ///< Empty if the resources for a connection are missing.
    QDBusConnection connection;
    bool open = false;
};

} // namespace common::platform
