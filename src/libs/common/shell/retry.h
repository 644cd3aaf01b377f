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
    // Enough for a scanner that is still busy; more would make a lasting failure too slow.
    constexpr int maxAttempts = 5;
    // All delays take 200 ms: long for a passing lock, short for a user.
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
