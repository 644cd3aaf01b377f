#pragma once

#include <common/vxcommon_export.h>

#include <QObject>
#include <QSharedPointer>
#include <QTimer>

#include <memory>

namespace common
{

/// The source of an IdleWatcher's readings. Called on the watcher's thread; should not block.
class VXCOMMON_EXPORT IIdleBackend
{
public:
    virtual ~IIdleBackend() = default;

    /// Returns the whole seconds since the last input of the user; 0 if they are unknown.
    virtual int getSeconds() = 0;

protected:
    IIdleBackend() = default;

private:
    Q_DISABLE_COPY(IIdleBackend)
};

/// The working parts of an IdleWatcher. A program may replace the backend with its own.
class VXCOMMON_EXPORT IdleWatcherPrivate
{
public:
    IdleWatcherPrivate() = default;

    QTimer timer;                          ///< Polls every 3000 ms, while idle every 1000 ms.
    std::unique_ptr<IIdleBackend> backend; ///< Null if the system offers none; then no signal is emitted.
    int lastSeconds = 0;                   ///< The previous reading.

private:
    Q_DISABLE_COPY(IdleWatcherPrivate)
};

/**
 * Reports how long the user has not touched keyboard and mouse, and when the user returns.
 *
 * Polls on the thread that created it, which needs an event loop, and emits there, from construction to
 * destruction. Windows: GetLastInputInfo. Linux: the MIT-SCREEN-SAVER extension of the X server, or
 * org.gnome.Mutter.IdleMonitor or org.freedesktop.ScreenSaver on the session bus; in a Wayland session the
 * bus comes first, since the X server receives only part of the input there. Without any of them, an Error
 * line is written on the channel "common.idle" and no signal is ever emitted.
 */
class VXCOMMON_EXPORT IdleWatcher : public QObject
{
    Q_OBJECT

public:
    /// Creates a watcher at each call, whose only owner is the caller. Watchers are independent.
    static QSharedPointer<IdleWatcher> instance();

    ~IdleWatcher() override;

    /// Polls once, as the timer does.
    void checkIdleState();

    /// Returns the working parts. They live as long as the watcher.
    IdleWatcherPrivate* idleWatcherPrivate() const;

Q_SIGNALS:
    /**
     * Emitted when the idle time has reached another whole minute.
     *
     * @param sinceSeconds The exact reading, in seconds: a poll may notice the minute up to 3 s late.
     */
    void idle(int sinceSeconds);

    /// Emitted when the user returns after 60 s of idleness or more.
    void active();

private:
    explicit IdleWatcher(QObject* parent = nullptr);
    Q_DISABLE_COPY(IdleWatcher)

    std::unique_ptr<IdleWatcherPrivate> d;
};

} // namespace common
