#include "busconnection.h"

#include "../freedescriptors.h"

#include <QUuid>

#include <algorithm>

#include <pthread.h>

namespace common::platform
{

bool CanStartThread()
{
    pthread_t thread{};
    const auto doNothing = [](void*) -> void* { return nullptr; };
    return HasDescriptors(1) && pthread_create(&thread, nullptr, doNothing, nullptr) == 0 &&
           pthread_join(thread, nullptr) == 0;
}

BusConnection::BusConnection(const QString& address, const QDeadlineTimer& deadline)
    : name(CanStartThread() ? QUuid::createUuid().toString() : QString())
    , connection(name.isEmpty() ? QDBusConnection(name) : QDBusConnection::connectToPeer(address, name))
{
    open = connection.isConnected() &&
           CallBus(QStringLiteral("Hello"), {}, deadline).type() == QDBusMessage::ReplyMessage;
}

BusConnection::~BusConnection()
{
    if (!name.isEmpty()) {
        QDBusConnection::disconnectFromPeer(name);
    }
}

QString BusConnection::SessionBusAddress()
{
    const QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    return address.isEmpty() ? QStringLiteral("unix:path=") + qEnvironmentVariable("XDG_RUNTIME_DIR") +
                                   QLatin1String("/bus")
                             : address;
}

QString BusConnection::SystemBusAddress()
{
    return qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS",
                                QStringLiteral("unix:path=/run/dbus/system_bus_socket"));
}

QDBusMessage BusConnection::Call(const QDBusMessage& message, const QDeadlineTimer& deadline)
{
    // A timeout of 0 would mean the default timeout.
    const qint64 left = std::max<qint64>(1, deadline.remainingTime());
    return connection.call(message, QDBus::Block, static_cast<int>(left));
}

QDBusMessage BusConnection::CallBus(const QString& method, const QVariantList& arguments,
                                    const QDeadlineTimer& deadline)
{
    const QString bus = QStringLiteral("org.freedesktop.DBus");
    auto call = QDBusMessage::createMethodCall(bus, QStringLiteral("/org/freedesktop/DBus"), bus, method);
    call.setArguments(arguments);
    return Call(call, deadline);
}

} // namespace common::platform
