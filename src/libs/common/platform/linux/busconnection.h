#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QString>

namespace common::platform
{

/**
 * A connection to a message bus that never waits longer than it is told to.
 *
 * QDBusConnection::connectToBus waits without end, and later keeps the program from exiting, if the bus takes
 * the connection and then keeps silent. A peer connection does not wait; it becomes one of the bus by saying
 * Hello, like any call with a time limit. It has to ask the bus for its signals itself.
 */
class BusConnection
{
public:
    BusConnection(const QString& address, const QDeadlineTimer& deadline);
    ~BusConnection(); ///< No signal comes any more.

    static QString SessionBusAddress();
    static QString SystemBusAddress();

    bool IsOpen() const { return open; }
    QDBusConnection& Connection() { return connection; }

    /// The answer, or an error message.
    QDBusMessage Call(const QDBusMessage& message, const QDeadlineTimer& deadline);
    /// Calls a method of the bus itself.
    QDBusMessage CallBus(const QString& method, const QVariantList& arguments,
                         const QDeadlineTimer& deadline);

private:
    Q_DISABLE_COPY(BusConnection)

    QString name;
    QDBusConnection connection;
    bool open = false;
};

} // namespace common::platform
