#pragma once

#include <common/vxcommon_export.h>

#include <QObject>

namespace tools
{

/**
 * Tells that the computer goes to sleep and that it has woken up.
 *
 * The system reports on a thread of its own, and the signals are emitted on that thread: connect with a
 * receiver object and the automatic kind of connection, and the slot runs on the receiver's thread. Windows:
 * PowerRegisterSuspendResumeNotification. Linux: PrepareForSleep of logind on the system bus; a machine
 * without that bus, or a program without a QCoreApplication, counts as one that was refused. Log channel:
 * "sleepwatcher".
 */
class VXCOMMON_EXPORT SleepWatcher : public QObject
{
    Q_OBJECT

public:
    /// The one watcher. It belongs to the thread that calls first, and ends with the program.
    static SleepWatcher* instance();

    /// Whether the system accepted the subscription. It is tried once; without it no signal ever comes.
    bool isInited() const;

    /**
     * Whether the last event was a sleep. To be read on the watcher's thread: it changes there, when the
     * event loop next runs after the event, which may be as late as after waking up.
     */
    bool isSleeping() const;

Q_SIGNALS:
    void sleep(); ///< The system goes to sleep. Repeats are passed on as they come.
    void wake();  ///< The system has resumed.

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
 * What the system calls, on any thread, at a change of power.
 *
 * @param context the SleepWatcher that is to emit; null for nobody
 * @param type 4 (PBT_APMSUSPEND) for sleep, 7 (PBT_APMRESUMESUSPEND) for wake; all others are ignored
 * @param setting not used
 * @return 0
 */
VXCOMMON_EXPORT unsigned long powerChangeNotify(void* context, unsigned long type, void* setting);

} // namespace tools
