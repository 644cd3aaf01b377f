#include "panels.h"

#include "widgets.h"

#include <common/idle/idlewatcher.h>
#include <common/logger/logger.h>
#include <common/tools/datewatcher.h>

#include <QLocale>
#include <QStatusBar>

using namespace Qt::StringLiterals;
using common::IdleWatcher;
using tools::DateWatcher;

QStatusBar* CreateStatusLine(const IdleWatcher& idleWatcher, QWidget* schemeState)
{
    auto* const presence = new Line;
    const auto showAvailable = [presence] {
        presence->Show(QStatusBar::tr("Available"), Tone::Good, u"done"_s);
    };
    showAvailable();
    QObject::connect(&idleWatcher, &IdleWatcher::idle, presence, [presence](int seconds) {
        presence->Show(QStatusBar::tr("Away for %1 min").arg(seconds / 60), Tone::Quiet, u"clock"_s);
        LOG_MESSAGE(common::logger::Info) << "the user is away for " << seconds << " s";
    });
    QObject::connect(&idleWatcher, &IdleWatcher::active, presence, [showAvailable] {
        showAvailable();
        LOG_MESSAGE(common::logger::Info) << "the user is back";
    });

    const auto dateWatcher = DateWatcher::GetDateWatcher();
    auto* const date = new QLabel;
    const auto showDate = [date] {
        date->setText(QLocale().toString(DateWatcher::CurrentDate(), QLocale::LongFormat));
        date->setToolTip(DateWatcher::CurrentTimeZone().displayName(QTimeZone::GenericTime));
    };
    showDate();
    QObject::connect(dateWatcher.data(), &DateWatcher::currentDateChanged, date, showDate);
    QObject::connect(dateWatcher.data(), &DateWatcher::currentTimeZoneChanged, date, showDate);

    auto* const bar = new QStatusBar;
    bar->setContentsMargins(8, 0, 0, 0);
    bar->addWidget(presence, 1);
    bar->addPermanentWidget(schemeState);
    bar->addPermanentWidget(date);
    return bar;
}
