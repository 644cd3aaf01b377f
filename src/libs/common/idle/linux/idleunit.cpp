#include "idleunit.h"

namespace common
{

namespace
{

using namespace std::chrono_literals;

/// Replies in a row that must keep pace. By chance one in some ten to a hundred fits while the user types;
/// that many never do. With a poll every 3 s, they arrive before the first minute of rest is over.
constexpr int repliesNeeded = 10;

constexpr IdleUnit::Milliseconds replyTimeout = 500ms;

} // namespace

std::optional<IdleUnit::Milliseconds> IdleUnit::ToIdleTime(quint32 number, Milliseconds now)
{
    if (unit == 0ms) {
        Compare(number, now);
    }
    return unit != 0ms ? std::optional(number * unit) : std::nullopt;
}

void IdleUnit::Compare(quint32 number, Milliseconds now)
{
    const qint64 growth = qint64{number} - firstNumber;
    const Milliseconds elapsed = now - firstTime;
    // A second may end between clock reading and reply.
    maybeSeconds = maybeSeconds && std::chrono::abs(growth * 1000ms - elapsed) <= 1s + replyTimeout;
    maybeMilliseconds = maybeMilliseconds && std::chrono::abs(growth * 1ms - elapsed) <= replyTimeout;
    if (count == 0 || (!maybeSeconds && !maybeMilliseconds)) {
        firstNumber = number;
        firstTime = now;
        count = 0;
        maybeSeconds = true;
        maybeMilliseconds = true;
    }
    ++count;
    if (count >= repliesNeeded && maybeSeconds != maybeMilliseconds) {
        unit = maybeSeconds ? 1000ms : 1ms;
    }
}

} // namespace common
