#pragma once

#include <common/vxcommon_export.h>

#include <QObject>

namespace tools
{

/**
 * Reports when the computer suspends and resumes.
 *
 * The signals are emitted on a separate thread. If you connect with a receiver object and the automatic
 * connection type, the slot runs on the receiver's thread. Windows: calls
 * PowerRegisterSuspendResumeNotification. Linux: receives PrepareForSleep from logind on the system bus;
 * without a system bus, the subscription counts as refused. Log channel: "sleepwatcher".
 */
class VXCOMMON_EXPORT SleepWatcher : public QObject
{
    Q_OBJECT

public:
    /// Returns the only watcher. It belongs to the thread of the first call and is destroyed at exit.
    static SleepWatcher* instance();

    /// Returns whether the system accepted the subscription. The watcher subscribes only once; if the system
    /// refuses, no signal is ever emitted.
    bool isInited() const;

    /**
     * Returns whether the last event was a suspend. Call this function on the watcher's thread. The value
     * changes when that thread's event loop handles the event, perhaps only after the computer has resumed.
     */
    bool isSleeping() const;

Q_SIGNALS:
    void sleep(); ///< Emitted for each suspend event, even a repeated one.
    void wake();  ///< Emitted when the system has resumed.

private:
    SleepWatcher();
    ~SleepWatcher() override;
    Q_DISABLE_COPY(SleepWatcher)

    void init();
    void deinit();

    bool inited = false;
    bool sleeping = false;
};

/**
 * Receives a power event. The system may call this function on any thread.
 *
 * @param context The SleepWatcher that emits the signal; if null, no signal is emitted.
 * @param type 4 (PBT_APMSUSPEND) for sleep, 7 (PBT_APMRESUMESUSPEND) for wake; others are ignored.
 * @param setting Not used.
 * @return 0.
 */
VXCOMMON_EXPORT unsigned long powerChangeNotify(void* context, unsigned long type, void* setting);

} // namespace tools
