#pragma once

#include <QtGlobal>

#include <chrono>
#include <optional>

namespace common
{

/**
 * Determines whether a desktop's screen saver reports the idle time in seconds or in milliseconds.
 *
 * The unit of GetSessionIdleTime differs between desktops. Neither a single reply nor the difference between
 * two shows the unit, because user input may reset the idle time between them. Only without input does the
 * number, read in the right unit, keep pace with the clock over many replies.
 */
class IdleUnit
{
public:
    using Milliseconds = std::chrono::milliseconds;

    /**
     * @param number The service's reply.
     * @param now The time of its arrival, on a monotonic clock.
     * @return The idle time; std::nullopt while the unit is unknown.
     */
    std::optional<Milliseconds> ToIdleTime(quint32 number, Milliseconds now);

private:
    void Compare(quint32 number, Milliseconds now);

    Milliseconds unit{0}; ///< 0 until the unit is known.
    int count = 0;        ///< Number of consecutive replies that keep pace, including the first.
    quint32 firstNumber = 0;
    Milliseconds firstTime{0};
    bool maybeSeconds = true;
    bool maybeMilliseconds = true;
};

} // namespace common
