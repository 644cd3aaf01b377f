#include "command.h"
#include "output.h"

#include <common/idle/idlewatcher.h>
#include <common/shell/devinfo.h>
#include <common/tools/audiodevicetools.h>
#include <common/tools/datewatcher.h>
#include <common/tools/keyboard.h>
#include <common/tools/sleepwatcher.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QTimer>

#include <chrono>
#include <cstdio>

namespace vxtool
{

namespace
{

const QString idleOption = QStringLiteral("idle");
const QString sleepOption = QStringLiteral("sleep");
const QString dateOption = QStringLiteral("date");
const QString durationOption = QStringLiteral("for");

int Device(const QCommandLineParser& parser)
{
    RowPrinter printer(parser);
    using common::shell::DeviceInfo;
    const auto print = [&printer](const QString& name, const QJsonValue& value) {
        printer.Print({{QStringLiteral("name"), name}, {QStringLiteral("value"), value}});
    };
    print(QStringLiteral("serial"), DeviceInfo::GetSerialNumber());
    print(QStringLiteral("serial-md5"), DeviceInfo::GetSerialNumberMD5Hash(QString()));
    print(QStringLiteral("playback"), tools::AudioDeviceTools::getDefaultDeviceName(true));
    print(QStringLiteral("capture"), tools::AudioDeviceTools::getDefaultDeviceName(false));
    print(QStringLiteral("caps-lock"), tools::Keyboard::IsCapsLock());
    return AllValid;
}

void AddWatchOptions(QCommandLineParser& parser)
{
    parser.addOption({idleOption, QStringLiteral("Watch the user's idleness.")});
    parser.addOption({sleepOption, QStringLiteral("Watch the computer's sleep.")});
    parser.addOption({dateOption, QStringLiteral("Watch date and time zone.")});
    parser.addOption(
        {durationOption, QStringLiteral("End after S seconds; without it, never."), QStringLiteral("S")});
}

/// One line for one signal, at once, whoever reads it.
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
                     [](int seconds) { PrintSignal(QStringLiteral("idle(%1)").arg(seconds)); });
    QObject::connect(watcher.data(), &common::IdleWatcher::active, context,
                     [] { PrintSignal(QStringLiteral("active")); });
    return watcher;
}

bool WatchSleep(QObject* context)
{
    auto* watcher = tools::SleepWatcher::instance();
    QObject::connect(watcher, &tools::SleepWatcher::sleep, context,
                     [] { PrintSignal(QStringLiteral("sleep")); });
    QObject::connect(watcher, &tools::SleepWatcher::wake, context,
                     [] { PrintSignal(QStringLiteral("wake")); });
    return watcher->isInited();
}

void WatchDate(QObject* context)
{
    const auto watcher = tools::DateWatcher::GetDateWatcher();
    QObject::connect(watcher.data(), &tools::DateWatcher::currentDateChanged, context, [] {
        PrintSignal(QStringLiteral("date ") + tools::DateWatcher::CurrentDate().toString(Qt::ISODate));
    });
    QObject::connect(watcher.data(), &tools::DateWatcher::currentTimeZoneChanged, context, [] {
        PrintSignal(QStringLiteral("zone ") + QString::fromUtf8(tools::DateWatcher::CurrentTimeZone().id()));
    });
}

int Watch(const QCommandLineParser& parser)
{
    const QString commandName = QStringLiteral("watch");
    bool ok = true;
    const int seconds = parser.isSet(durationOption) ? parser.value(durationOption).toInt(&ok) : -1;
    if (!ok || (parser.isSet(durationOption) && seconds < 0)) {
        return FailUsage(QStringLiteral("--for takes a number of seconds"), commandName);
    }
    const bool all = !parser.isSet(idleOption) && !parser.isSet(sleepOption) && !parser.isSet(dateOption);

    bool watching = true;
    QObject context;
    QSharedPointer<common::IdleWatcher> idleWatcher;
    if (all || parser.isSet(idleOption)) {
        idleWatcher = WatchIdle(&context);
        if (idleWatcher->idleWatcherPrivate()->backend == nullptr) {
            PrintError(QStringLiteral("vxtool: this system does not tell how long the user is idle"));
            watching = false;
        }
    }
    if ((all || parser.isSet(sleepOption)) && !WatchSleep(&context)) {
        PrintError(QStringLiteral("vxtool: this system does not tell when it sleeps"));
        watching = false;
    }
    if (all || parser.isSet(dateOption)) {
        WatchDate(&context);
    }
    PrintSignal(QStringLiteral("watching"));
    if (seconds >= 0) {
        QTimer::singleShot(std::chrono::seconds(seconds), &context, &QCoreApplication::quit);
    }
    QCoreApplication::exec();
    return watching ? AllValid : SomeFailed;
}

const CommandRegistration registration{
    {QStringLiteral("device"), QString(),
     QStringLiteral("Show the machine's identity, its default sound devices and Caps Lock."),
     RowPrinter::AddOptions, Device},
    {QStringLiteral("watch"), QString(),
     QStringLiteral("Print idleness, sleep and changes of the date as they come; all without options."),
     AddWatchOptions, Watch},
};

} // namespace

} // namespace vxtool
