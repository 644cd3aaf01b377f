#include <common/tools/datewatcher.h>

#include <QDateTime>

#include <chrono>

namespace tools
{

namespace
{

/// Interval between clock readings, and the maximum delay of a signal.
constexpr std::chrono::milliseconds pollInterval{3000};

} // namespace

DateWatcher::DateWatcher(QObject* parent)
    : QObject(parent)
    , timer(new QTimer(this))
{
    timer->setInterval(pollInterval);
    connect(timer, SIGNAL(timeout()), this, SLOT(OnTimerTimeout()));
    timer->start();
    currentDate = QDate::currentDate();
    utcOffset = GetCurrentOffsetFromUTC();
}

QSharedPointer<DateWatcher> DateWatcher::GetDateWatcher()
{
    static const QSharedPointer<DateWatcher> watcher(new DateWatcher);
    return watcher;
}

QDate DateWatcher::CurrentDate()
{
    return GetDateWatcher()->GetCurrentDate();
}

QTimeZone DateWatcher::CurrentTimeZone()
{
    return GetDateWatcher()->GetTimeZone();
}

QDate DateWatcher::GetCurrentDate()
{
    if (!currentDate.isValid()) {
        currentDate = QDate::currentDate();
    }
    return currentDate;
}

QTimeZone DateWatcher::GetTimeZone()
{
    return QTimeZone(utcOffset);
}

void DateWatcher::OnTimerTimeout()
{
    const int offset = GetCurrentOffsetFromUTC();
    if (offset != utcOffset) {
        utcOffset = offset;
        currentDate = QDate::currentDate();
        Q_EMIT currentTimeZoneChanged();
        return;
    }
    const QDate date = QDate::currentDate();
    if (date != currentDate) {
        currentDate = date;
        Q_EMIT currentDateChanged();
    }
}

// Kept for compatibility: reads the clock twice. If a second ends between the readings, the offset is one
// second too large until the next poll.
int DateWatcher::GetCurrentOffsetFromUTC()
{
    const QDateTime utc = QDateTime::currentDateTimeUtc();
    const QTime time = utc.time();
    const QDateTime utcAsLocal(utc.date(), QTime(time.hour(), time.minute(), time.second(), 0));
    const QDateTime local = QDateTime::currentDateTime();
    // secsTo truncates towards zero: fractions of a second would make offsets west of Greenwich one second
    // too large.
    return static_cast<int>(utcAsLocal.secsTo(local.addMSecs(-local.time().msec())));
}

} // namespace tools
