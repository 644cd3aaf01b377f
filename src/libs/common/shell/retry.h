#pragma once

#include <common/logger/logger.h>

#include <QString>
#include <QThread>

namespace common
{

/**
 * Runs `primitive` up to five times, 50 ms apart, until it returns true. Logs a warning for each attempt that
 * failed.
 *
 * @param failure returns what failed, without the number of the attempt; only called on failure
 */
template<class Primitive, class Failure>
bool Retry(const Primitive& primitive, const Failure& failure)
{
    static constexpr logger::Channel logChannel{"shell.filecmd"};
    // More would make a failure that cannot heal too slow, less would give up on a scanner that is still at
    // work.
    constexpr int maxAttempts = 5;
    // A fifth of a second in all: long for a passing lock, short for a person.
    constexpr unsigned long retryDelayMs = 50;

    for (int attempt = 1; attempt <= maxAttempts; ++attempt) {
        if (attempt > 1) {
            QThread::msleep(retryDelayMs);
        }
        if (primitive()) {
            return true;
        }
        LOG_MESSAGE(logger::Warn) << failure() << ", attempt '" << attempt << "'";
    }
    return false;
}

} // namespace common
