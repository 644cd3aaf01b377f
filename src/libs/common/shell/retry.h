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
 * @param failure returns a description of the failure, without the attempt number; called only on failure
 */
template<class Primitive, class Failure>
bool Retry(const Primitive& primitive, const Failure& failure)
{
    static constexpr logger::Channel logChannel{"shell.filecmd"};
    // Enough attempts to outlast a busy virus scanner, few enough to report a persistent failure soon.
    constexpr int maxAttempts = 5;
    // The delays add up to 200 ms: long enough to outlast a brief lock, short enough to go unnoticed.
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
