#pragma once

#include <QtGlobal>

#include <atomic>
#include <chrono>

namespace common
{

/**
 * Counts the items that a worker has finished. Limits the wake-ups of the owner's thread to one every few
 * milliseconds, because a wake-up takes as long as removing a file.
 */
class TaskProgress
{
public:
    /// Minimum interval between two wake-ups; short enough to look immediate.
    static constexpr std::chrono::milliseconds pause{5};

    TaskProgress() = default;

    /// Records that `current` of `total` items are done. Called on the worker thread. Returns whether to
    /// wake the owner.
    bool Report(int current, int total_)
    {
        if (stopped) {
            return false;
        }
        total = total_;
        done = current;
        const auto now = std::chrono::steady_clock::now();
        if (now - lastWake < pause || awake.exchange(true)) {
            return false;
        }
        lastWake = now;
        return true;
    }

    // The following functions are called on the owner's thread.

    void Wake() { awake = false; } ///< Call this function first after a wake-up.
    /// Advances to the next item to emit. Returns false if no item is left.
    bool Next()
    {
        if (emitted >= done) {
            return false;
        }
        ++emitted;
        return true;
    }
    int Current() const { return emitted; }
    int Total() const { return total; }
    void Stop() { stopped = true; } ///< Ignores all later reports.

private:
    Q_DISABLE_COPY(TaskProgress)

    std::atomic<bool> stopped = false;
    std::atomic<bool> awake = false;
    std::atomic<int> done = 0;
    std::atomic<int> total = 0;
    std::chrono::steady_clock::time_point lastWake; ///< Belongs to the worker.
    int emitted = 0;                                ///< Belongs to the owner.
};

} // namespace common
