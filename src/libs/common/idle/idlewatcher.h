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

    /// Returns the number of whole seconds since the user's last input; 0 if it is unknown.
    virtual int getSeconds() = 0;

protected:
    IIdleBackend() = default;

private:
    Q_DISABLE_COPY(IIdleBackend)
};

/// The internals of an IdleWatcher. A program may replace the backend with its own.
class VXCOMMON_EXPORT IdleWatcherPrivate
{
public:
    IdleWatcherPrivate() = default;

    QTimer timer;                          ///< Polls every 3000 ms; every 1000 ms while the user is idle.
    std::unique_ptr<IIdleBackend> backend; ///< Null if the system offers none; then no signal is emitted.
    int lastSeconds = 0;                   ///< The previous reading.

private:
    Q_DISABLE_COPY(IdleWatcherPrivate)
};

/**
 * Reports how long the user has not used the keyboard or mouse, and when the user returns.
 *
 * Polls and emits signals on the thread that created the watcher, which needs an event loop. Windows: calls
 * GetLastInputInfo. Linux: queries the MIT-SCREEN-SAVER extension of the X server, or
 * org.gnome.Mutter.IdleMonitor or org.freedesktop.ScreenSaver on the session bus. In a Wayland session, the
 * bus takes precedence, because the X server receives only part of the input. If no source is available,
 * logs an Error line on the channel "common.idle" and never emits a signal.
 */
class VXCOMMON_EXPORT IdleWatcher : public QObject
{
    Q_OBJECT

public:
    /// Creates a new, independent watcher on each call. The caller is its only owner.
    static QSharedPointer<IdleWatcher> instance();

    ~IdleWatcher() override;

    /// Polls once, as the timer does.
    void checkIdleState();

    /// Returns the internals, which live as long as the watcher.
    IdleWatcherPrivate* idleWatcherPrivate() const;

Q_SIGNALS:
    /**
     * Emitted when the idle time has reached another whole minute.
     *
     * @param sinceSeconds The idle time in seconds; exceeds the whole minute by up to the poll interval.
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
