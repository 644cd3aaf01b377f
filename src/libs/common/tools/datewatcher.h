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
 * Notices a new calendar day and a new offset from UTC by comparing clock readings every 3 s.
 *
 * The offset is the distance between the clock of UTC, read as if it were local, and local time. When summer
 * time begins or ends, it therefore changes at the hour at which the clock of UTC, not the local one, shows
 * the time of the change.
 *
 * Lives on the thread that first asks for it; polling and signals need that thread's event loop. The fields
 * are plain: other threads should not read while it polls.
 */
class VXCOMMON_EXPORT DateWatcher : public QObject
{
    Q_OBJECT

public:
    /// The one watcher, made at the first call. It polls to the end of the program, whoever holds it.
    static QSharedPointer<DateWatcher> GetDateWatcher();

    static QDate CurrentDate();         ///< GetCurrentDate of the one watcher.
    static QTimeZone CurrentTimeZone(); ///< GetTimeZone of the one watcher.

    /// The local date of the last poll, so up to 3 s old.
    QDate GetCurrentDate();

    /// The offset from UTC of the last poll as a zone, without a name and without rules for summer time.
    QTimeZone GetTimeZone();

Q_SIGNALS:
    /// A new day, at an unchanged offset.
    void currentDateChanged();

    /// A new offset from UTC. The date may have changed with it and is not told separately: read it again.
    void currentTimeZoneChanged();

protected:
    /// For GetDateWatcher; reads the clock and begins to poll.
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
