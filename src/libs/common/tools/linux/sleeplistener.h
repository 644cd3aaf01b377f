#pragma once

#include <QObject>

namespace tools
{

/// Hears logind announce sleep and wake, on the thread that it lives on.
class SleepListener : public QObject
{
    Q_OBJECT

public:
    explicit SleepListener(void* context);

    bool Subscribe();          ///< Whether the system bus will tell.
    static void Unsubscribe(); ///< After this no event comes any more.

private Q_SLOTS:
    void OnPrepareForSleep(bool begins);

private:
    Q_DISABLE_COPY(SleepListener)

    void* context;
};

} // namespace tools
