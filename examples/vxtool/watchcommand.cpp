#include "command.h"
#include "input.h"
#include "output.h"

#include <common/idle/idlewatcher.h>
#include <common/tools/datewatcher.h>
#include <common/tools/sleepwatcher.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QTimer>

#include <cstdio>

namespace vxtool
{

namespace
{

const Option idleOption{u"idle"_s, u"Watch whether the user is idle."_s};
const Option sleepOption{u"sleep"_s, u"Watch suspend and resume."_s};
const Option dateOption{u"date"_s, u"Watch date and time zone."_s};
const Option forOption{u"for"_s, u"Seconds to watch (default: no limit)."_s, u"S"_s};

/// Prints one line per signal and flushes it, so that a pipe receives it immediately.
void PrintSignal(const QString& signal)
{
    const QString time = QDateTime::currentDateTime().toString(Qt::ISODateWithMs);
    PrintLine(time + u'\t' + signal);
    static_cast<void>(std::fflush(stdout));
}

QSharedPointer<common::IdleWatcher> WatchIdle(QObject* context)
{
    auto watcher = common::IdleWatcher::instance();
    QObject::connect(watcher.data(), &common::IdleWatcher::idle, context,
                     [](int seconds) { PrintSignal(u"idle(%1)"_s.arg(seconds)); });
    QObject::connect(watcher.data(), &common::IdleWatcher::active, context, [] { PrintSignal(u"active"_s); });
    return watcher;
}

bool WatchSleep(QObject* context)
{
    auto* watcher = tools::SleepWatcher::instance();
    QObject::connect(watcher, &tools::SleepWatcher::sleep, context, [] { PrintSignal(u"sleep"_s); });
    QObject::connect(watcher, &tools::SleepWatcher::wake, context, [] { PrintSignal(u"wake"_s); });
    return watcher->isInited();
}

void WatchDate(QObject* context)
{
    const auto watcher = tools::DateWatcher::GetDateWatcher();
    QObject::connect(watcher.data(), &tools::DateWatcher::currentDateChanged, context, [] {
        PrintSignal(u"date "_s + tools::DateWatcher::CurrentDate().toString(Qt::ISODate));
    });
    QObject::connect(watcher.data(), &tools::DateWatcher::currentTimeZoneChanged, context, [] {
        PrintSignal(u"zone "_s + QString::fromUtf8(tools::DateWatcher::CurrentTimeZone().id()));
    });
}

int Watch(const QCommandLineParser& parser)
{
    double seconds = -1;
    if (!ReadSeconds(parser, forOption, seconds)) {
        return WrongUsage;
    }
    const bool all = !parser.isSet(idleOption) && !parser.isSet(sleepOption) && !parser.isSet(dateOption);

    bool watching = true;
    QObject context;
    QSharedPointer<common::IdleWatcher> idleWatcher;
    if (all || parser.isSet(idleOption)) {
        idleWatcher = WatchIdle(&context);
        watching = idleWatcher->idleWatcherPrivate()->backend != nullptr ||
                   Complain(u"this system does not report how long the user has been idle"_s);
    }
    if ((all || parser.isSet(sleepOption)) && !WatchSleep(&context)) {
        watching = Complain(u"this system does not report suspend and resume"_s);
    }
    if (all || parser.isSet(dateOption)) {
        WatchDate(&context);
    }
    PrintSignal(u"watching"_s);
    if (seconds >= 0) {
        QTimer::singleShot(static_cast<int>(seconds * 1000), &context, &QCoreApplication::quit);
    }
    QCoreApplication::exec();
    return ExitCodeOf(watching);
}

const CommandRegistration registration([] {
    return CommandList{
        {u"watch"_s,
         QString(),
         u"Print idle times, sleep and date changes."_s,
         {idleOption, sleepOption, dateOption, forOption},
         Watch,
         u"Without options, watches everything."_s,
         u"vxtool watch --idle --for 600"_s},
    };
});

} // namespace

} // namespace vxtool
