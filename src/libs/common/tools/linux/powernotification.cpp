#include "../powernotification.h"

#include "sleeplistener.h"

#include <common/tools/sleepwatcher.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <memory>

namespace tools
{

namespace
{

constexpr unsigned long suspendEvent = 4; // PBT_APMSUSPEND
constexpr unsigned long resumeEvent = 7;  // PBT_APMRESUMESUSPEND

/// What subscribing may take, so that a bus that keeps silent does not stop the program.
constexpr std::chrono::milliseconds subscribeLimit{1500};

const QString connectionName = QStringLiteral("vxcommon.sleepwatcher");
const QString busName = QStringLiteral("org.freedesktop.DBus");
const QString loginName = QStringLiteral("org.freedesktop.login1");
const QString loginPath = QStringLiteral("/org/freedesktop/login1");
const QString loginInterface = QStringLiteral("org.freedesktop.login1.Manager");
const QString sleepSignal = QStringLiteral("PrepareForSleep");

QString SystemBusAddress()
{
    return qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS",
                                QStringLiteral("unix:path=/run/dbus/system_bus_socket"));
}

/// The thread that receives, and what lives on it.
struct Subscription
{
    QThread thread;
    SleepListener* listener = nullptr;
};

std::unique_ptr<Subscription>& CurrentSubscription()
{
    static std::unique_ptr<Subscription> subscription;
    return subscription;
}

} // namespace

SleepListener::SleepListener(void* context_)
    : context(context_)
{}

// QDBusConnection::connectToBus waits without end for a bus that takes the connection and then keeps silent.
// A peer connection does not; it becomes one of the bus by saying Hello, and asks for its signals itself.
bool SleepListener::Subscribe()
{
    QDBusConnection connection = QDBusConnection::connectToPeer(SystemBusAddress(), connectionName);
    const QDeadlineTimer deadline(subscribeLimit);
    const auto callBus = [&](const QString& method, const QVariantList& arguments) {
        auto call =
            QDBusMessage::createMethodCall(busName, QStringLiteral("/org/freedesktop/DBus"), busName, method);
        call.setArguments(arguments);
        // 0 would stand for "no limit of its own".
        const qint64 left = std::max<qint64>(1, deadline.remainingTime());
        return connection.call(call, QDBus::Block, static_cast<int>(left)).type() ==
               QDBusMessage::ReplyMessage;
    };
    if (!connection.isConnected() || !callBus(QStringLiteral("Hello"), {})) {
        return false;
    }
    QString rule = QStringLiteral("type='signal',path='%1',interface='%2',member='%3'")
                       .arg(loginPath, loginInterface, sleepSignal);
    if (callBus(QStringLiteral("GetNameOwner"), {loginName})) {
        rule += QStringLiteral(",sender='%1'").arg(loginName); // Nobody else may send us to sleep.
    }
    return callBus(QStringLiteral("AddMatch"), {rule}) &&
           connection.connect(QString(), loginPath, loginInterface, sleepSignal, this,
                              SLOT(OnPrepareForSleep(bool)));
}

void SleepListener::Unsubscribe()
{
    QDBusConnection::disconnectFromPeer(connectionName);
}

void SleepListener::OnPrepareForSleep(bool begins)
{
    powerChangeNotify(context, begins ? suspendEvent : resumeEvent, nullptr);
}

namespace powernotification
{

Result Register(void* context)
{
    auto subscription = std::make_unique<Subscription>();
    subscription->thread.setObjectName(QStringLiteral("vxcommon sleep"));
    subscription->listener = new SleepListener(context);
    subscription->listener->moveToThread(&subscription->thread);
    // Runs on the thread itself, as its event loop ends.
    QObject::connect(&subscription->thread, &QThread::finished, subscription->listener,
                     &QObject::deleteLater);
    subscription->thread.start();
    bool subscribed = false;
    QMetaObject::invokeMethod(
        subscription->listener, [&] { subscribed = subscription->listener->Subscribe(); },
        Qt::BlockingQueuedConnection);
    CurrentSubscription() = std::move(subscription);
    if (!subscribed) {
        Unregister();
    }
    return subscribed ? Result::Done : Result::Refused;
}

Result Unregister()
{
    const std::unique_ptr<Subscription> subscription = std::move(CurrentSubscription());
    if (subscription != nullptr) {
        SleepListener::Unsubscribe();
        subscription->thread.quit();
        subscription->thread.wait();
    }
    return Result::Done;
}

} // namespace powernotification

} // namespace tools
