#pragma once

#include <common/vxcommon_export.h>

#include <QObject>
#include <QSharedPointer>
#include <QTimer>

#include <memory>

namespace common
{

/// Where an IdleWatcher reads idleness from. Asked on the watcher's thread; an answer should not block.
class VXCOMMON_EXPORT IIdleBackend
{
public:
    virtual ~IIdleBackend() = default;

    /// Whole seconds since the last input of the user; 0 if that cannot be told.
    virtual int getSeconds() = 0;

protected:
    IIdleBackend() = default;

private:
    Q_DISABLE_COPY(IIdleBackend)
};

/// The working parts of an IdleWatcher. A program may put a backend of its own in place.
class VXCOMMON_EXPORT IdleWatcherPrivate
{
public:
    IdleWatcherPrivate() = default;

    QTimer timer;                          ///< The poll: every 3000 ms, while idle every 1000 ms.
    std::unique_ptr<IIdleBackend> backend; ///< Null if the system offers none: then nothing is told.
    int lastSeconds = 0;                   ///< The reading of the poll before.

private:
    Q_DISABLE_COPY(IdleWatcherPrivate)
};

/**
 * Tells how long the user has left keyboard and mouse alone, and when the user comes back.
 *
 * Polls on the thread that made it, which needs an event loop, and emits there, from construction to
 * destruction. Windows: GetLastInputInfo. Linux: the MIT-SCREEN-SAVER extension of the X server, or
 * org.gnome.Mutter.IdleMonitor or org.freedesktop.ScreenSaver on the session bus; in a Wayland session the
 * bus comes first, since the X server there sees only part of the input. With none of them an Error line is
 * written on the channel "common.idle" and no signal ever comes.
 */
class VXCOMMON_EXPORT IdleWatcher : public QObject
{
    Q_OBJECT

public:
    /// A new watcher at each call, whose only owner is the caller. Watchers know nothing of each other.
    static QSharedPointer<IdleWatcher> instance();

    ~IdleWatcher() override;

    /// One poll, as the timer does it.
    void checkIdleState();

    /// The working parts; they live as long as the watcher.
    IdleWatcherPrivate* idleWatcherPrivate() const;

Q_SIGNALS:
    /**
     * The idle time has reached another whole minute.
     *
     * @param sinceSeconds the reading as it is: a poll may see the minute up to 3 s late
     */
    void idle(int sinceSeconds);

    /// The user is back, after 60 s of idleness or more.
    void active();

private:
    explicit IdleWatcher(QObject* parent = nullptr);
    Q_DISABLE_COPY(IdleWatcher)

    std::unique_ptr<IdleWatcherPrivate> d;
};

} // namespace common
