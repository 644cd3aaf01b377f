#include "statusline.h"

#include <common/logger/logger.h>
#include <common/tools/datewatcher.h>
#include <common/tools/sleepwatcher.h>

#include <QLabel>
#include <QLocale>
#include <QTime>

namespace vxphone
{

namespace
{

constexpr common::logger::Channel logChannel{"vxphone.status"};

} // namespace

StatusLine::StatusLine(QWidget* parent)
    : QStatusBar(parent)
    , idleWatcher(common::IdleWatcher::instance())
    , presence(new QLabel(tr("Present")))
    , power(new QLabel)
    , schemeState(new QLabel)
    , date(new QLabel)
{
    addWidget(presence);
    addWidget(power);
    addPermanentWidget(schemeState);
    addPermanentWidget(date);

    connect(idleWatcher.data(), &common::IdleWatcher::idle, this, [this](int seconds) {
        presence->setText(tr("Away for %1 min").arg(seconds / 60));
        LOG_MESSAGE(common::logger::Info) << "the user is away for " << seconds << " s";
    });
    connect(idleWatcher.data(), &common::IdleWatcher::active, this, [this] {
        presence->setText(tr("Present"));
        LOG_MESSAGE(common::logger::Info) << "the user is back";
    });

    // With a receiver, since these signals come from a thread of the system.
    const auto* const sleepWatcher = tools::SleepWatcher::instance();
    power->setText(sleepWatcher->isInited() ? tr("Awake") : tr("Sleep is not watched"));
    connect(sleepWatcher, &tools::SleepWatcher::sleep, this,
            [this] { power->setText(tr("Going to sleep")); });
    connect(sleepWatcher, &tools::SleepWatcher::wake, this, [this] {
        power->setText(
            tr("Awake since %1").arg(QLocale().toString(QTime::currentTime(), QLocale::ShortFormat)));
    });

    const auto dateWatcher = tools::DateWatcher::GetDateWatcher();
    connect(dateWatcher.data(), &tools::DateWatcher::currentDateChanged, this, &StatusLine::ShowDate);
    connect(dateWatcher.data(), &tools::DateWatcher::currentTimeZoneChanged, this, &StatusLine::ShowDate);
    ShowDate();
    ShowSchemes({});
}

void StatusLine::ShowSchemes(const QStringList& schemes)
{
    schemeState->setText(schemes.isEmpty() ? tr("No call links")
                                           : tr("Call links: %1").arg(schemes.join(QStringLiteral(", "))));
}

void StatusLine::ShowDate()
{
    date->setText(QStringLiteral("%1  %2").arg(
        QLocale().toString(tools::DateWatcher::CurrentDate(), QLocale::LongFormat),
        tools::DateWatcher::CurrentTimeZone().displayName(QTimeZone::GenericTime)));
}

} // namespace vxphone
