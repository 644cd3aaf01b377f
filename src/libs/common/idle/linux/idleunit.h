#pragma once

#include <QtGlobal>

#include <optional>

namespace common
{

/**
 * Finds out whether the idle time of a desktop's screen saver counts seconds or milliseconds.
 *
 * GetSessionIdleTime tells seconds on some desktops and milliseconds on others. Neither an answer nor the
 * step from one to the next shows which, since input in between leaves any number below the time that has
 * gone. What no input can do is make the number keep pace with the clock, answer after answer: that is rest,
 * and shows the unit.
 */
class IdleUnit
{
public:
    /**
     * @param number the service's answer
     * @param now when it came, in ms of a clock that never goes back
     * @return the idle time in ms; nothing as long as the unit is unknown
     */
    std::optional<quint64> ToMilliseconds(quint32 number, qint64 now);

private:
    void Compare(qint64 number, qint64 now);

    quint64 unit = 0; ///< In ms; 0 until it is known.
    int count = 0;    ///< Answers in a row that keep pace, the first of them included.
    qint64 firstNumber = 0;
    qint64 firstTime = 0;
    bool maybeSeconds = true;
    bool maybeMilliseconds = true;
};

} // namespace common
