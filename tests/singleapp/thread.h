#pragma once

#include <QSemaphore>
#include <QThread>

#include <functional>
#include <memory>

/// Runs `work` on a thread of its own, since a lock may belong to a thread, while the event loop of this one
/// goes on. The result is there when the thread has finished.
inline std::unique_ptr<QThread> StartThread(const std::function<void()>& work)
{
    std::unique_ptr<QThread> thread(QThread::create(work));
    thread->start();
    return thread;
}
