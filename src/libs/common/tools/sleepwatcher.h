#pragma once

#include <common/vxcommon_export.h>

#include <QObject>

namespace tools
{

/**
 * Reports when the computer suspends and resumes.
 *
 * The signals are emitted on a separate thread of the system. If you connect with a receiver object and the
 * automatic connection type, the slot runs on the receiver's thread. Windows:
 * PowerRegisterSuspendResumeNotification. Linux: PrepareForSleep of logind on the system bus; a machine
 * without that bus counts as one that refused the subscription. Log channel: "sleepwatcher".
 */
class VXCOMMON_EXPORT SleepWatcher : public QObject
{
    Q_OBJECT

public:
    /// Returns the only watcher. It belongs to the thread of the first call, and ends with the program.
    static SleepWatcher* instance();

    /// Returns whether the system accepted the subscription. There is one attempt; if it fails, no signal is
    /// ever emitted.
    bool isInited() const;

    /**
     * Returns whether the last event was a suspend. Call it on the watcher's thread: the value changes there
     * when the event loop next runs after the event, perhaps not before the computer has resumed.
     */
    bool isSleeping() const;

Q_SIGNALS:
    void sleep(); ///< Emitted when the system suspends. Repeats are forwarded.
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
 * Receives a power event. Called by the system, on any thread.
 *
 * @param context The SleepWatcher that emits the signal; null for none.
 * @param type 4 (PBT_APMSUSPEND) for sleep, 7 (PBT_APMRESUMESUSPEND) for wake; others are ignored.
 * @param setting Not used.
 * @return 0.
 */
VXCOMMON_EXPORT unsigned long powerChangeNotify(void* context, unsigned long type, void* setting);

} // namespace tools
