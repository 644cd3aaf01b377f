#include <common/idle/idlewatcher.h>

#include "idlebackend.h"

#include <QPointer>

#include <chrono>

namespace common
{

namespace
{

constexpr int minute = 60;
constexpr std::chrono::milliseconds pollInterval{3000};
/// Poll interval while the user is idle; short, so that the user's return is reported within a second.
constexpr std::chrono::milliseconds idlePollInterval{1000};

} // namespace

IdleWatcher::IdleWatcher(QObject* parent)
    : QObject(parent)
    , d(std::make_unique<IdleWatcherPrivate>())
{
    d->backend = createIdleBackend();
    connect(&d->timer, &QTimer::timeout, this, &IdleWatcher::checkIdleState);
    d->timer.start(pollInterval);
}

IdleWatcher::~IdleWatcher() = default;

QSharedPointer<IdleWatcher> IdleWatcher::instance()
{
    return QSharedPointer<IdleWatcher>(new IdleWatcher);
}

IdleWatcherPrivate* IdleWatcher::idleWatcherPrivate() const
{
    return d.get();
}

void IdleWatcher::checkIdleState()
{
    if (d->backend == nullptr) {
        return;
    }
    const int seconds = d->backend->getSeconds();
    const int previous = d->lastSeconds;
    // A receiver may release the last pointer to this watcher.
    const QPointer<IdleWatcher> alive(this);
    if (seconds < previous && previous >= minute) {
        d->timer.setInterval(pollInterval);
        Q_EMIT active();
    } else if (seconds / minute > previous / minute) {
        d->timer.setInterval(idlePollInterval);
        Q_EMIT idle(seconds);
    }
    if (!alive.isNull()) {
        d->lastSeconds = seconds;
    }
}

} // namespace common
