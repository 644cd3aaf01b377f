#include "../powernotification.h"

#include "../../platform/win/systemdirectory.h"

#include <common/tools/sleepwatcher.h>

#include <QLibrary>

#include <qt_windows.h>

namespace tools::powernotification
{

namespace
{

/// DEVICE_NOTIFY_SUBSCRIBE_PARAMETERS, which some SDK headers lack. On 64-bit Windows, callbacks use the
/// default calling convention.
struct SubscribeParameters
{
    decltype(&powerChangeNotify) callback;
    PVOID context;
};

constexpr DWORD deviceNotifyCallback = 2; // DEVICE_NOTIFY_CALLBACK

using RegisterFunction = DWORD(WINAPI*)(DWORD flags, HANDLE recipient, void** registration);
using UnregisterFunction = DWORD(WINAPI*)(void* registration);

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
    static SubscribeParameters parameters{powerChangeNotify, context};
    return function(deviceNotifyCallback, &parameters, &Registration()) == 0 ? Result::Done : Result::Refused;
}

Result Unregister()
{
    const auto function = Resolve<UnregisterFunction>("PowerUnregisterSuspendResumeNotification");
    if (function == nullptr) {
        return Result::Missing;
    }
    // Kept for compatibility: passes the address of the handle, not the handle, and ignores the result.
    function(&Registration());
    return Result::Done;
}

} // namespace tools::powernotification
