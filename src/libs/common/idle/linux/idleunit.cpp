#include "idleunit.h"

#include <cstdlib>

namespace common
{

namespace
{

/// By chance one answer in some ten to a hundred fits while the user types; so many in a row never do. At a
/// poll each 3 s they are there before the first minute of rest is over.
constexpr int answersNeeded = 10;

constexpr qint64 millisecondsPerSecond = 1000;
constexpr qint64 answerDelay = 500; // ms; a later answer counts as failed.

} // namespace

std::optional<quint64> IdleUnit::ToMilliseconds(quint32 number, qint64 now)
{
    if (unit == 0) {
        Compare(number, now);
    }
    return unit != 0 ? std::optional<quint64>(number * unit) : std::nullopt;
}

void IdleUnit::Compare(qint64 number, qint64 now)
{
    const qint64 growth = number - firstNumber;
    const qint64 elapsed = now - firstTime;
    // A whole second may end or not between clock and answer.
    maybeSeconds = maybeSeconds &&
                   std::abs(growth * millisecondsPerSecond - elapsed) <= millisecondsPerSecond + answerDelay;
    maybeMilliseconds = maybeMilliseconds && std::abs(growth - elapsed) <= answerDelay;
    if (count == 0 || (!maybeSeconds && !maybeMilliseconds)) {
        firstNumber = number;
        firstTime = now;
        count = 0;
        maybeSeconds = true;
        maybeMilliseconds = true;
    }
    ++count;
    if (count >= answersNeeded && maybeSeconds != maybeMilliseconds) {
        unit = maybeSeconds ? millisecondsPerSecond : 1;
    }
}

} // namespace common
