#pragma once

#include "../../platform/linux/busconnection.h"

#include <QObject>

#include <memory>

namespace tools
{

/// Hears logind announce sleep and wake, on the thread that it lives on.
class SleepListener : public QObject
{
    Q_OBJECT

public:
    explicit SleepListener(void* context);

    bool Subscribe(); ///< Whether the system bus will tell.

private Q_SLOTS:
    void OnPrepareForSleep(bool begins, const QDBusMessage& message);

private:
    Q_DISABLE_COPY(SleepListener)

    QString LoginOwner();

    void* context;
    std::unique_ptr<common::platform::BusConnection> bus;
    bool hasLogin = false; ///< Whether logind was on the bus when this subscribed.
};

} // namespace tools
