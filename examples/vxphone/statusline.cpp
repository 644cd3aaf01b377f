#include "panels.h"

#include <common/clicktocall/clicktocall.h>
#include <common/idle/idlewatcher.h>
#include <common/tools/datewatcher.h>

#include <QAction>
#include <QCoreApplication>
#include <QLocale>
#include <QThreadPool>

using namespace Qt::StringLiterals;
using namespace common;
using tools::DateWatcher;

namespace
{

class StatusLine : public QStatusBar
{
public:
    StatusLine()
    {
        setContentsMargins(8, 0, 0, 0);
        addWidget(presence, 1);
        addPermanentWidget(schemes);
        addPermanentWidget(date);
        addAction(tr("&Open call links with vxphone"), this, [this] { HandleLinks(true); });
        addAction(tr("&Stop handling call links"), this, [this] { HandleLinks(false); });
        schemeWorker.setMaxThreadCount(1);
        schemeWorker.start([this] { ShowSchemes(); });
        ShowPresence(0);
        ShowDate();

        connect(idleWatcher.data(), &IdleWatcher::idle, this, &StatusLine::ShowPresence);
        connect(idleWatcher.data(), &IdleWatcher::active, this, [this] { ShowPresence(0); });
        const auto dateWatcher = DateWatcher::GetDateWatcher();
        connect(dateWatcher.data(), &DateWatcher::currentDateChanged, this, &StatusLine::ShowDate);
        connect(dateWatcher.data(), &DateWatcher::currentTimeZoneChanged, this, &StatusLine::ShowDate);
    }

private:
    void ShowPresence(int idleSeconds)
    {
        if (idleSeconds > 0) {
            presence->Show(tr("Away for %1 min").arg(idleSeconds / 60), u"clock"_s);
        } else {
            presence->Show(tr("Available"), u"done"_s);
        }
    }

    void ShowDate() { date->setText(QLocale().toString(DateWatcher::CurrentDate(), QLocale::LongFormat)); }

    /// Registers or unregisters this program as the handler of call links.
    void HandleLinks(bool handle)
    {
        schemeWorker.start([this, handle] {
            const QStringList all = ClickToCall::currentAvailableProtocols();
            if (handle) {
                ClickToCall::registerProtocols(all, application, organization);
            } else {
                ClickToCall::unregisterProtocols(all, application, organization);
                ClickToCall::unregisterApplication(application, organization);
            }
            ShowSchemes();
        });
    }

    void ShowSchemes()
    {
        const QStringList own = ClickToCall::stateOfProtocols(application, organization);
        QMetaObject::invokeMethod(this, [this, own] {
            schemes->setText(own.isEmpty() ? tr("No call links")
                                           : tr("Call links: %1").arg(own.join(u", "_s)));
        });
    }

    const QString application = QCoreApplication::applicationName();
    const QString organization = QCoreApplication::organizationName();
    const QSharedPointer<IdleWatcher> idleWatcher = IdleWatcher::instance();
    Line* presence = new Line(QPalette::PlaceholderText);
    QLabel* schemes = new QLabel;
    QLabel* date = new QLabel;
    QThreadPool schemeWorker; ///< One thread, so that the changes stay in order.
};

} // namespace

QStatusBar* CreateStatusLine()
{
    return new StatusLine;
}
