#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QString>

namespace common::platform
{

/**
 * Returns whether this process can start a thread with an event loop at the moment. Call this function
 * before you start a D-Bus thread or wait for one, because Qt may wait forever for a thread that cannot be
 * started. The function starts a thread for the check, which may take a few tenths of a millisecond.
 */
bool CanStartThread();

/**
 * A connection to a message bus with a timeout for every wait.
 *
 * If the bus accepts the connection but never responds, QDBusConnection::connectToBus waits forever and later
 * prevents the program from exiting. This class opens a peer connection, which does not wait, and turns it
 * into a bus connection by calling "Hello" with a timeout. To receive signals from the bus, call "AddMatch"
 * explicitly.
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
