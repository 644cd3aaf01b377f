#include "../powernotification.h"

#include "../../platform/win/systemdirectory.h"

#include <common/tools/sleepwatcher.h>

#include <QLibrary>

#include <qt_windows.h>

namespace tools::powernotification
{

namespace
{

/// DEVICE_NOTIFY_SUBSCRIBE_PARAMETERS, which not every system header has.
struct SubscribeParameters
{
    ULONG(CALLBACK* callback)(PVOID context, ULONG type, PVOID setting);
    PVOID context;
};

constexpr DWORD deviceNotifyCallback = 2; // DEVICE_NOTIFY_CALLBACK

using RegisterFunction = DWORD(WINAPI*)(DWORD flags, HANDLE recipient, void** registration);
using UnregisterFunction = DWORD(WINAPI*)(void* registration);

ULONG CALLBACK Notify(PVOID context, ULONG type, PVOID setting)
{
    return powerChangeNotify(context, type, setting);
}

SubscribeParameters& Parameters(void* context)
{
    static SubscribeParameters parameters{Notify, context};
    return parameters;
}

void*& Registration()
{
    static void* handle = nullptr;
    return handle;
}

template<typename Function>
Function Resolve(const char* name)
{
    QLibrary library(common::platform::InSystemDirectory(QStringLiteral("Powrprof")));
    return reinterpret_cast<Function>(library.resolve(name));
}

} // namespace

Result Register(void* context)
{
    const auto function = Resolve<RegisterFunction>("PowerRegisterSuspendResumeNotification");
    if (function == nullptr) {
        return Result::Missing;
    }
    return function(deviceNotifyCallback, &Parameters(context), &Registration()) == 0 ? Result::Done
                                                                                      : Result::Refused;
}

Result Unregister()
{
    const auto function = Resolve<UnregisterFunction>("PowerUnregisterSuspendResumeNotification");
    if (function == nullptr) {
        return Result::Missing;
    }
    // Kept for compatibility: the address of the handle instead of the handle, and the result is ignored.
    function(&Registration());
    return Result::Done;
}

} // namespace tools::powernotification
