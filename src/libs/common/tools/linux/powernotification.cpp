#include "../powernotification.h"

#include "../../platform/linux/busconnection.h"

#include <common/tools/sleepwatcher.h>

#include <QEventLoop>
#include <QThread>

#include <chrono>
#include <future>
#include <memory>
#include <utility>

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

/// Receives logind's suspend and resume signals on the object's thread.
class SleepListener : public QObject
{
    Q_OBJECT

public:
    explicit SleepListener(void* context_)
        : context(context_)
    {}

    bool Subscribe(); ///< Returns whether the system bus accepted the subscription.

private Q_SLOTS:
    void OnNameOwnerChanged(const QString& name, const QString& from, const QString& to,
                            const QDBusMessage& message);
    void OnPrepareForSleep(bool begins, const QDBusMessage& message);

private:
    Q_DISABLE_COPY(SleepListener)

    void* context;
    std::unique_ptr<common::platform::BusConnection> bus;
    QString loginOwner; ///< Unique bus name of the latest logind process; empty until logind starts.
};

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

std::unique_ptr<QThread>& CurrentThread()
{
    static std::unique_ptr<QThread> thread;
    return thread;
}

} // namespace

namespace powernotification
{

Result Register(void* context)
{
    if (!common::platform::CanStartThread()) {
        return Result::Refused;
    }
    std::promise<bool> promise;
    std::future<bool> subscribed = promise.get_future();
    CurrentThread().reset(QThread::create([context, promise = std::move(promise)]() mutable {
        SleepListener listener(context);
        promise.set_value(listener.Subscribe());
        QEventLoop().exec();
    }));
    CurrentThread()->start();
    if (subscribed.get()) {
        return Result::Done;
    }
    Unregister();
    return Result::Refused;
}

Result Unregister()
{
    const std::unique_ptr<QThread> thread = std::move(CurrentThread());
    if (thread != nullptr) {
        thread->quit();
        thread->wait();
    }
    return Result::Done;
}

} // namespace powernotification

} // namespace tools

#include "powernotification.moc"
