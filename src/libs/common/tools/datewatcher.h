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
 * Reads the clock every 3 s and reports a new calendar day or a new offset from UTC.
 *
 * The offset is the difference between local time and the time in UTC, interpreted as local time. When summer
 * time begins or ends, the offset therefore changes when UTC, not local time, reaches the time of the change.
 *
 * The watcher belongs to the thread of the first call; polling and signals need that thread's event loop. Do
 * not use the watcher on other threads, because access is not synchronised.
 */
class VXCOMMON_EXPORT DateWatcher : public QObject
{
    Q_OBJECT

public:
    /// Returns the only watcher, which the first call creates. The watcher polls until the program ends, even
    /// if you release the pointer.
    static QSharedPointer<DateWatcher> GetDateWatcher();

    static QDate CurrentDate();         ///< Returns GetCurrentDate of the only watcher.
    static QTimeZone CurrentTimeZone(); ///< Returns GetTimeZone of the only watcher.

    /// Returns the local date at the last poll, at most 3 s ago.
    QDate GetCurrentDate();

    /// Returns the offset from UTC at the last poll as a time zone without a name or summer time rules.
    QTimeZone GetTimeZone();

Q_SIGNALS:
    /// Emitted when a new day has begun and the offset is unchanged.
    void currentDateChanged();

    /// Emitted when the offset from UTC has changed. Read the date again: if it has changed too, no separate
    /// signal is emitted.
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
    int utcOffset = 0; ///< In seconds; positive east of Greenwich.
    QPointer<QTimer> timer;
};

} // namespace tools
