#include "panels.h"

#include <common/clicktocall/clicktocall.h>
#include <common/logger/logger.h>
#include <common/tools/datewatcher.h>

#include <QCoreApplication>
#include <QLocale>

using namespace Qt::StringLiterals;
using namespace common;
using tools::DateWatcher;

StatusLine::StatusLine()
    : idleWatcher(IdleWatcher::instance())
    , presence(new Line)
    , schemes(new QLabel)
    , date(new QLabel)
{
    setContentsMargins(8, 0, 0, 0);
    addWidget(presence, 1);
    addPermanentWidget(schemes);
    addPermanentWidget(date);
    schemeWorker.setMaxThreadCount(1);
    ShowPresence(0);
    ShowDate();
    schemeWorker.start([this] { ShowSchemes(); });

    connect(idleWatcher.data(), &IdleWatcher::idle, this, &StatusLine::ShowPresence);
    connect(idleWatcher.data(), &IdleWatcher::active, this, [this] { ShowPresence(0); });
    const auto dateWatcher = DateWatcher::GetDateWatcher();
    connect(dateWatcher.data(), &DateWatcher::currentDateChanged, this, &StatusLine::ShowDate);
    connect(dateWatcher.data(), &DateWatcher::currentTimeZoneChanged, this, &StatusLine::ShowDate);
}

void StatusLine::ShowPresence(int idleSeconds)
{
    if (idleSeconds > 0) {
        presence->Show(tr("Away for %1 min").arg(idleSeconds / 60), Tone::Quiet, u"clock"_s);
    } else {
        presence->Show(tr("Available"), Tone::Good, u"done"_s);
    }
    LOG_MESSAGE(logger::Info) << "idle time of the user: " << idleSeconds << " s";
}

void StatusLine::ShowDate()
{
    date->setText(QLocale().toString(DateWatcher::CurrentDate(), QLocale::LongFormat));
    date->setToolTip(DateWatcher::CurrentTimeZone().displayName(QTimeZone::GenericTime));
}

void StatusLine::HandleLinks(bool handle)
{
    schemeWorker.start([this, handle] {
        const QString application = QCoreApplication::applicationName();
        const QString organization = QCoreApplication::organizationName();
        const QStringList all = ClickToCall::currentAvailableProtocols();
        const bool done = handle ? ClickToCall::registerProtocols(all, application, organization)
                                 : ClickToCall::unregisterProtocols(all, application, organization) &&
                                       ClickToCall::unregisterApplication(application, organization);
        if (!done) {
            LOG_MESSAGE(logger::Error) << "the call links could not be changed";
        }
        ShowSchemes();
    });
}

void StatusLine::ShowSchemes()
{
    const QStringList own = ClickToCall::stateOfProtocols(QCoreApplication::applicationName(),
                                                          QCoreApplication::organizationName());
    QMetaObject::invokeMethod(this, [this, own] {
        schemes->setText(own.isEmpty() ? tr("No call links") : tr("Call links: %1").arg(own.join(u", "_s)));
    });
}
