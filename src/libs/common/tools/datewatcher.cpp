#include <common/tools/datewatcher.h>

#include <QDateTime>

#include <chrono>

namespace tools
{

namespace
{

/// Interval between clock readings; the maximum delay of a report.
constexpr std::chrono::milliseconds pollInterval{3000};

} // namespace

DateWatcher::DateWatcher(QObject* parent)
    : QObject(parent)
    , timer(new QTimer(this))
{
    timer->setSingleShot(false);
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

// Kept for compatibility: the clock is read twice. A second that ends in between makes the offset too large
// by one for one poll.
int DateWatcher::GetCurrentOffsetFromUTC()
{
    const QDateTime utc = QDateTime::currentDateTimeUtc();
    const QTime time = utc.time();
    const QDateTime utcAsLocal(utc.date(), QTime(time.hour(), time.minute(), time.second(), 0));
    const QDateTime local = QDateTime::currentDateTime();
    // secsTo truncates towards zero: fractions of a second would make all offsets west of Greenwich too large
    // by one.
    return static_cast<int>(utcAsLocal.secsTo(local.addMSecs(-local.time().msec())));
}

} // namespace tools
