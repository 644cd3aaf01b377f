#include "taskreports.h"

#include <QTimer>

#include <utility>

namespace common
{

namespace
{

/// Short enough to look immediate.
constexpr std::chrono::milliseconds pause(5);

} // namespace

TaskReports::TaskReports(QObject* receiver_, ProgressFunction progress_, EndFunction end_)
    : receiver(receiver_)
    , progress(std::move(progress_))
    , end(std::move(end_))
{}

void TaskReports::Progress(int current, int total_)
{
    if (stopped) {
        return;
    }
    total = total_;
    done = current;
    const auto now = std::chrono::steady_clock::now();
    if (now - lastWake >= pause && !queued.exchange(true)) {
        lastWake = now;
        QMetaObject::invokeMethod(
            receiver, [self = shared_from_this()] { self->EmitProgress(); }, Qt::QueuedConnection);
    }
}

void TaskReports::End(int code, const QString& text)
{
    if (stopped) {
        return;
    }
    const auto emitEnd = [self = shared_from_this(), code, text] {
        self->EmitProgress(); // A slot of an earlier step may be running the event loop.
        if (self->receiver) {
            self->end(code, text);
        }
    };
    QMetaObject::invokeMethod(receiver, emitEnd, Qt::QueuedConnection);
}

void TaskReports::EmitProgress()
{
    queued = false;
    const bool isNew = emitted < done;
    // A slot may destroy the receiver, or come here by an event loop.
    while (receiver && emitted < done) {
        progress(++emitted, total);
    }
    if (isNew && receiver) {
        // Takes what the worker does not wake this thread for.
        QTimer::singleShot(pause, receiver, [self = shared_from_this()] { self->EmitProgress(); });
    }
}

} // namespace common
