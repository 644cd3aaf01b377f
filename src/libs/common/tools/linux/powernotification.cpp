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

constexpr unsigned long suspendEvent = 4; // PBT_APMSUSPEND
constexpr unsigned long resumeEvent = 7;  // PBT_APMRESUMESUSPEND

/// What the bus may take to answer, so that one that keeps silent does not stop the program.
constexpr std::chrono::milliseconds answerLimit{1500};

const QString loginName = QStringLiteral("org.freedesktop.login1");
const QString loginPath = QStringLiteral("/org/freedesktop/login1");
const QString loginInterface = QStringLiteral("org.freedesktop.login1.Manager");
const QString sleepSignal = QStringLiteral("PrepareForSleep");

/// The thread that receives, from subscribing to its end.
class ListenerThread : public QThread
{
public:
    explicit ListenerThread(void* context_)
        : context(context_)
    {}

    /// Waits for the outcome; to be asked once.
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
    const QDeadlineTimer deadline(answerLimit);
    bus = std::make_unique<common::platform::BusConnection>(
        common::platform::BusConnection::SystemBusAddress(), deadline);
    if (!bus->IsOpen()) {
        return false;
    }
    hasLogin = !LoginOwner().isEmpty();
    const QString rule = QStringLiteral("type='signal',path='%1',interface='%2',member='%3'")
                             .arg(loginPath, loginInterface, sleepSignal);
    return bus->CallBus(QStringLiteral("AddMatch"), {rule}, deadline).type() == QDBusMessage::ReplyMessage &&
           bus->Connection().connect(QString(), loginPath, loginInterface, sleepSignal, this,
                                     SLOT(OnPrepareForSleep(bool, QDBusMessage)));
}

/// Unique name of the program that is logind; empty if there is none.
QString SleepListener::LoginOwner()
{
    const QDBusMessage reply =
        bus->CallBus(QStringLiteral("GetNameOwner"), {loginName}, QDeadlineTimer(answerLimit));
    return reply.type() == QDBusMessage::ReplyMessage ? reply.arguments().value(0).toString() : QString();
}

void SleepListener::OnPrepareForSleep(bool begins, const QDBusMessage& message)
{
    // A signal that is sent to one receiver passes every match rule, whoever sends it.
    if (!hasLogin || message.service() == LoginOwner()) {
        powerChangeNotify(context, begins ? suspendEvent : resumeEvent, nullptr);
    }
}

namespace powernotification
{

Result Register(void* context)
{
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
