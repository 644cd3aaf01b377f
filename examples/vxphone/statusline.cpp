#include "panels.h"

#include <common/idle/idlewatcher.h>
#include <common/logger/logger.h>
#include <common/tools/datewatcher.h>
#include <common/tools/sleepwatcher.h>

#include <QLabel>
#include <QLocale>
#include <QStatusBar>
#include <QTime>

namespace vxphone
{

namespace
{

constexpr common::logger::Channel logChannel{"vxphone.status"};

QString DateText()
{
    return QStringLiteral("%1  %2").arg(
        QLocale().toString(tools::DateWatcher::CurrentDate(), QLocale::LongFormat),
        tools::DateWatcher::CurrentTimeZone().displayName(QTimeZone::GenericTime));
}

} // namespace

QStatusBar* CreateStatusLine(const common::IdleWatcher& idleWatcher, QLabel* schemeState)
{
    auto* const presence = new QLabel(QStatusBar::tr("Present"));
    QObject::connect(&idleWatcher, &common::IdleWatcher::idle, presence, [presence](int seconds) {
        presence->setText(QStatusBar::tr("Away for %1 min").arg(seconds / 60));
        LOG_MESSAGE(common::logger::Info) << "the user is away for " << seconds << " s";
    });
    QObject::connect(&idleWatcher, &common::IdleWatcher::active, presence, [presence] {
        presence->setText(QStatusBar::tr("Present"));
        LOG_MESSAGE(common::logger::Info) << "the user is back";
    });

    using tools::SleepWatcher;
    const SleepWatcher* const sleepWatcher = SleepWatcher::instance();
    auto* const power = new QLabel(sleepWatcher->isInited() ? QStatusBar::tr("Awake")
                                                            : QStatusBar::tr("Sleep is not watched"));
    // With a receiver, since these signals come from a thread of the system.
    QObject::connect(sleepWatcher, &SleepWatcher::sleep, power,
                     [power] { power->setText(QStatusBar::tr("Going to sleep")); });
    QObject::connect(sleepWatcher, &SleepWatcher::wake, power, [power] {
        const QString now = QLocale().toString(QTime::currentTime(), QLocale::ShortFormat);
        power->setText(QStatusBar::tr("Awake since %1").arg(now));
    });

    using tools::DateWatcher;
    const auto dateWatcher = DateWatcher::GetDateWatcher();
    auto* const date = new QLabel(DateText());
    const auto showDate = [date] { date->setText(DateText()); };
    QObject::connect(dateWatcher.data(), &DateWatcher::currentDateChanged, date, showDate);
    QObject::connect(dateWatcher.data(), &DateWatcher::currentTimeZoneChanged, date, showDate);

    auto* const bar = new QStatusBar;
    bar->addWidget(presence);
    bar->addWidget(power);
    bar->addPermanentWidget(schemeState);
    bar->addPermanentWidget(date);
    for (QLabel* const label : {presence, power, schemeState, date}) {
        label->setIndent(label->fontMetrics().averageCharWidth());
    }
    return bar;
}

} // namespace vxphone
