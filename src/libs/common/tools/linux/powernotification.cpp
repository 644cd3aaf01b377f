#include "../powernotification.h"

#include "sleeplistener.h"

#include <common/tools/sleepwatcher.h>

#include <QThread>

#include <chrono>
#include <future>
#include <memory>

namespace tools
{

namespace
{

/// Timeout of the subscription, so that an unresponsive bus does not block the program.
constexpr std::chrono::milliseconds subscribeTimeout{1500};

const QString busName = QStringLiteral("org.freedesktop.DBus");
const QString busPath = QStringLiteral("/org/freedesktop/DBus");
const QString ownerSignal = QStringLiteral("NameOwnerChanged");
const QString loginName = QStringLiteral("org.freedesktop.login1");
const QString loginPath = QStringLiteral("/org/freedesktop/login1");
const QString loginInterface = QStringLiteral("org.freedesktop.login1.Manager");
const QString sleepSignal = QStringLiteral("PrepareForSleep");

/// The thread that subscribes to logind's signals and receives them.
class ListenerThread : public QThread
{
public:
    explicit ListenerThread(void* context_)
        : context(context_)
    {}

    /// Waits for the outcome of the subscription. Call it only once.
    bool IsSubscribed() { return subscribed.get_future().get(); }

protected:
    void run() override
    {
        SleepListener listener(context);
        subscribed.set_value(listener.Subscribe());
        exec();
    }

private:
    void* context;
    std::promise<bool> subscribed;
};

std::unique_ptr<ListenerThread>& CurrentThread()
{
    static std::unique_ptr<ListenerThread> thread;
    return thread;
}

} // namespace

SleepListener::SleepListener(void* context_)
    : context(context_)
{}

bool SleepListener::Subscribe()
{
    const QDeadlineTimer deadline(subscribeTimeout);
    bus = std::make_unique<common::platform::BusConnection>(
        common::platform::BusConnection::SystemBusAddress(), deadline);
    if (!bus->IsOpen()) {
        return false;
    }
    const auto match = [&](const QString& path, const QString& interface, const QString& member,
                           const QString& filter, const char* slot) {
        const QString rule = QStringLiteral("type='signal',path='%1',interface='%2',member='%3'%4")
                                 .arg(path, interface, member, filter);
        return bus->CallBus(QStringLiteral("AddMatch"), {rule}, deadline).type() ==
                   QDBusMessage::ReplyMessage &&
               bus->Connection().connect(QString(), path, interface, member, this, slot);
    };
    const bool subscribed =
        match(busPath, busName, ownerSignal, QStringLiteral(",arg0='%1'").arg(loginName),
              SLOT(OnNameOwnerChanged(QString, QString, QString, QDBusMessage))) &&
        match(loginPath, loginInterface, sleepSignal, QString(), SLOT(OnPrepareForSleep(bool, QDBusMessage)));
    // Query the owner after adding the match rules, so that no change is missed. The reply is an error if
    // logind is not on the bus.
    const QDBusMessage reply = bus->CallBus(QStringLiteral("GetNameOwner"), {loginName}, deadline);
    if (reply.type() == QDBusMessage::ReplyMessage) {
        loginOwner = reply.arguments().value(0).toString();
    }
    return subscribed;
}

// A signal sent directly to this connection bypasses the match rules, so the slots check the sender.

void SleepListener::OnNameOwnerChanged(const QString& name, const QString& /*from*/, const QString& to,
                                       const QDBusMessage& message)
{
    if (message.service() == busName && name == loginName && !to.isEmpty()) {
        loginOwner = to;
    }
}

void SleepListener::OnPrepareForSleep(bool begins, const QDBusMessage& message)
{
    if (loginOwner.isEmpty() || message.service() == loginOwner) {
        powerChangeNotify(context, begins ? powernotification::suspendEvent : powernotification::resumeEvent,
                          nullptr);
    }
}

namespace powernotification
{

Result Register(void* context)
{
    if (!common::platform::CanStartThread()) {
        return Result::Refused;
    }
    CurrentThread() = std::make_unique<ListenerThread>(context);
    CurrentThread()->start();
    if (CurrentThread()->IsSubscribed()) {
        return Result::Done;
    }
    Unregister();
    return Result::Refused;
}

Result Unregister()
{
    const std::unique_ptr<ListenerThread> thread = std::move(CurrentThread());
    if (thread != nullptr) {
        thread->quit();
        thread->wait();
    }
    return Result::Done;
}

} // namespace powernotification

} // namespace tools
