#include "schemeregistration.h"

#include <common/clicktocall/clicktocall.h>
#include <common/logger/logger.h>

#include <QCoreApplication>

namespace vxphone
{

namespace
{

constexpr common::logger::Channel logChannel{"vxphone.schemes"};

} // namespace

SchemeRegistration::SchemeRegistration(QObject* parent)
    : QObject(parent)
{
    worker.setMaxThreadCount(1);
}

SchemeRegistration::~SchemeRegistration()
{
    worker.waitForDone();
}

void SchemeRegistration::Register()
{
    Run(Task::Register);
}

void SchemeRegistration::Unregister()
{
    Run(Task::Unregister);
}

void SchemeRegistration::Refresh()
{
    Run(Task::Look);
}

void SchemeRegistration::Run(Task task)
{
    using common::ClickToCall;
    const QString application = QCoreApplication::applicationName();
    const QString organization = QCoreApplication::organizationName();
    worker.start([this, task, application, organization] {
        const QStringList schemes = ClickToCall::currentAvailableProtocols();
        bool done = true;
        if (task == Task::Register) {
            done = ClickToCall::registerProtocols(schemes, application, organization);
        } else if (task == Task::Unregister) {
            done = ClickToCall::unregisterProtocols(schemes, application, organization) &&
                   ClickToCall::unregisterApplication(application, organization);
        }
        if (!done) {
            LOG_MESSAGE(common::logger::Error) << "the call links could not be changed";
        }
        Q_EMIT stateFound(ClickToCall::stateOfProtocols(application, organization));
    });
}

} // namespace vxphone
