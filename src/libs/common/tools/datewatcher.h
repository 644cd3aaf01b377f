#pragma once

#include <common/vxcommon_export.h>

#include <QDate>
#include <QObject>
#include <QPointer>
#include <QSharedPointer>
#include <QTimeZone>
#include <QTimer>

namespace tools
{

/**
 * Reports a new calendar day and a new offset from UTC, by comparing clock readings every 3 s.
 *
 * The offset is the distance between the time in UTC, read as if it were local, and local time. When summer
 * time begins or ends, it therefore changes at the hour at which UTC, not local time, reaches the time of the
 * change.
 *
 * Lives on the thread of the first call; polling and signals need that thread's event loop. The fields are
 * not protected: other threads should not read them while it polls.
 */
class VXCOMMON_EXPORT DateWatcher : public QObject
{
    Q_OBJECT

public:
    /// Returns the only watcher, created by the first call. It polls until the program ends, even if you
    /// release the pointer.
    static QSharedPointer<DateWatcher> GetDateWatcher();

    static QDate CurrentDate();         ///< Returns GetCurrentDate of the only watcher.
    static QTimeZone CurrentTimeZone(); ///< Returns GetTimeZone of the only watcher.

    /// Returns the local date of the last poll, so it is up to 3 s old.
    QDate GetCurrentDate();

    /// Returns the offset from UTC of the last poll as a zone, without a name and rules for summer time.
    QTimeZone GetTimeZone();

Q_SIGNALS:
    /// Emitted on a new day, at an unchanged offset.
    void currentDateChanged();

    /// Emitted on a new offset from UTC. The date may have changed with it and is not reported separately:
    /// read it again.
    void currentTimeZoneChanged();

protected:
    /// Reads the clock and starts polling. Used by GetDateWatcher.
    explicit DateWatcher(QObject* parent = nullptr);

private Q_SLOTS:
    void OnTimerTimeout();

private:
    Q_DISABLE_COPY(DateWatcher)

    int GetCurrentOffsetFromUTC();

    QDate currentDate;
    int utcOffset = 0; ///< Seconds, positive east of Greenwich.
    QPointer<QTimer> timer;
};

} // namespace tools
