#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

namespace common
{

/**
 * Carries the reports of a worker to the thread of a receiver. They arrive as queued signals do, but progress
 * wakes that thread at most every few milliseconds: a wake-up per item costs as much as the removal of a
 * file.
 */
class TaskReports : public std::enable_shared_from_this<TaskReports>
{
public:
    using ProgressFunction = std::function<void(int current, int total)>;
    using EndFunction = std::function<void(int code, const QString& text)>;

    /// The functions run in the thread of `receiver`, which must outlive the worker.
    TaskReports(QObject* receiver_, ProgressFunction progress_, EndFunction end_);

    /// For the worker: `current` of `total` items are done.
    void Progress(int current, int total_);
    /// For the worker: the job has ended; 0 is success.
    void End(int code, const QString& text);

    /// Drops everything that is reported from now on.
    void Stop() { stopped = true; }

private:
    Q_DISABLE_COPY(TaskReports)

    void EmitProgress();

    const QPointer<QObject> receiver;
    const ProgressFunction progress;
    const EndFunction end;
    std::atomic<bool> stopped = false;
    std::atomic<bool> queued = false;               ///< EmitProgress is on its way.
    std::chrono::steady_clock::time_point lastWake; ///< Belongs to the worker.
    std::atomic<int> done = 0;
    std::atomic<int> total = 0;
    int emitted = 0; ///< Belongs to the receiver's thread.
};

} // namespace common
