#pragma once

#include "../../platform/linux/busconnection.h"

#include <QObject>

#include <memory>

namespace tools
{

/// Receives logind's suspend and resume signals on the object's thread.
class SleepListener : public QObject
{
    Q_OBJECT

public:
    explicit SleepListener(void* context);

    bool Subscribe(); ///< Returns whether the system bus accepted the subscription.

private Q_SLOTS:
    void OnNameOwnerChanged(const QString& name, const QString& from, const QString& to,
                            const QDBusMessage& message);
    void OnPrepareForSleep(bool begins, const QDBusMessage& message);

private:
    Q_DISABLE_COPY(SleepListener)

    void* context;
    std::unique_ptr<common::platform::BusConnection> bus;
    QString loginOwner; ///< Unique bus name of the latest logind process; empty until logind starts.
};

} // namespace tools
