#pragma once

#include <QtGlobal>

#include <chrono>
#include <optional>

namespace common
{

/**
 * Determines whether the idle time of a desktop's screen saver is in seconds or in milliseconds.
 *
 * The unit of GetSessionIdleTime differs between desktops. Neither a reply nor the growth from one to the
 * next shows it, since input in between may leave any number below the elapsed time. But only without input
 * does the number keep pace with the clock, reply after reply, and that shows the unit.
 */
class IdleUnit
{
public:
    using Milliseconds = std::chrono::milliseconds;

    /**
     * @param number The service's reply.
     * @param now When it arrived, on a monotonic clock.
     * @return The idle time; nothing as long as the unit is unknown.
     */
    std::optional<Milliseconds> ToIdleTime(quint32 number, Milliseconds now);

private:
    void Compare(quint32 number, Milliseconds now);

    Milliseconds unit{0}; ///< 0 until it is known.
    int count = 0;        ///< Replies in a row that keep pace, the first of them included.
    quint32 firstNumber = 0;
    Milliseconds firstTime{0};
    bool maybeSeconds = true;
    bool maybeMilliseconds = true;
};

} // namespace common
