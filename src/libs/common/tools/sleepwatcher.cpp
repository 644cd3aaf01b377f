#include <common/tools/sleepwatcher.h>

#include <common/logger/logger.h>

#include "powernotification.h"

#include <QCoreApplication>

namespace tools
{

namespace
{

constexpr common::logger::Channel logChannel{"sleepwatcher"};

} // namespace

SleepWatcher::SleepWatcher()
{
    init();
    connect(this, &SleepWatcher::sleep, this, [this] { sleeping = true; });
    connect(this, &SleepWatcher::wake, this, [this] { sleeping = false; });
    if (auto* application = QCoreApplication::instance()) {
        connect(application, &QCoreApplication::aboutToQuit, this, &SleepWatcher::deinit);
    }
}

SleepWatcher::~SleepWatcher()
{
    if (inited) {
        deinit(); // Kept for compatibility: usually repeats the call made on aboutToQuit.
    }
}

SleepWatcher* SleepWatcher::instance()
{
    static SleepWatcher watcher;
    return &watcher;
}

bool SleepWatcher::isInited() const
{
    return inited;
}

bool SleepWatcher::isSleeping() const
{
    return sleeping;
}

void SleepWatcher::init()
{
    switch (powernotification::Register(this)) {
    case powernotification::Result::Done:
        inited = true;
        break;
    case powernotification::Result::Missing:
        LOG_MESSAGE(common::logger::Error)
            << "failed to resolve PowerRegisterSuspendResumeNotification method";
        break;
    case powernotification::Result::Refused:
        LOG_MESSAGE(common::logger::Error) << "failed to initialize";
        break;
    }
}

void SleepWatcher::deinit()
{
    if (powernotification::Unregister() == powernotification::Result::Missing) {
        LOG_MESSAGE(common::logger::Error)
            << "failed to resolve PowerUnregisterSuspendResumeNotification method";
    }
}

unsigned long powerChangeNotify(void* context, unsigned long type, void* /*setting*/)
{
    auto* watcher = static_cast<SleepWatcher*>(context);
    if (type == powernotification::suspendEvent) {
        LOG_MESSAGE(common::logger::Debug) << "PC sleep!";
        if (watcher != nullptr) {
            Q_EMIT watcher->sleep();
        }
    } else if (type == powernotification::resumeEvent) {
        LOG_MESSAGE(common::logger::Debug) << "PC wake!";
        if (watcher != nullptr) {
            Q_EMIT watcher->wake();
        }
    }
    return 0;
}

} // namespace tools
