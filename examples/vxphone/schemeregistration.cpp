#include "schemeregistration.h"

#include <common/clicktocall/clicktocall.h>
#include <common/logger/logger.h>

#include <QCoreApplication>
#include <QThread>

namespace vxphone
{

namespace
{

constexpr common::logger::Channel logChannel{"vxphone.schemes"};

} // namespace

SchemeRegistration::SchemeRegistration(QObject* parent)
    : QObject(parent)
{}

SchemeRegistration::~SchemeRegistration()
{
    if (worker != nullptr) {
        worker->wait();
    }
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
    if (worker != nullptr) {
        return; // One at a time.
    }
    using common::ClickToCall;
    const QString application = QCoreApplication::applicationName();
    const QString organization = QCoreApplication::organizationName();
    worker = QThread::create([this, task, application, organization] {
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
    connect(worker, &QThread::finished, this, [this] {
        worker->deleteLater();
        worker = nullptr;
    });
    worker->setParent(this);
    worker->start();
}

} // namespace vxphone
