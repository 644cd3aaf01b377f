#include "idleunit.h"

namespace common
{

namespace
{

using namespace std::chrono_literals;

/// Number of consecutive replies that must keep pace with the clock. While the user types, one reply in ten
/// to a hundred keeps pace by chance, but never this many in a row. With a poll every 3 s, this many
/// replies arrive within the first idle minute.
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
    // A reply in whole seconds can be up to one second off.
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
