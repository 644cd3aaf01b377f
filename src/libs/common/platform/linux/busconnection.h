#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QString>

namespace common::platform
{

/**
 * Returns whether this process can start a thread with an event loop at the moment. Check before you start a
 * thread of D-Bus or wait for one: Qt waits without end for some threads that could not start. Starts a
 * thread itself, which may take some tenths of a millisecond.
 */
bool CanStartThread();

/**
 * A connection to a message bus with a limit for every wait.
 *
 * QDBusConnection::connectToBus waits without end, and later keeps the program from exiting, if the bus
 * accepts the connection but never responds. A peer connection does not wait. It becomes a bus connection by
 * the call "Hello", which has a timeout like any other. It must subscribe to the signals of the bus itself.
 */
class BusConnection
{
public:
    BusConnection(const QString& address, const QDeadlineTimer& deadline);
    ~BusConnection(); ///< No signal is delivered after that.

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

    QString name; ///< Empty without the resources for a connection.
    QDBusConnection connection;
    bool open = false;
};

} // namespace common::platform
