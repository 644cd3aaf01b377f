#include "../idlebackend.h"

#include <common/logger/logger.h>

#include <QLibrary>

#include <qt_windows.h>

namespace common
{

namespace
{

constexpr logger::Channel logChannel{"common.idle"};

using GetLastInputInfoFunction = BOOL(WINAPI*)(PLASTINPUTINFO);
using IdleUIGetLastInputTimeFunction = DWORD(WINAPI*)();

/// Tick counts are unsigned 32-bit integers, so the difference is correct even if they wrap after 49.7 days.
int SecondsSince(DWORD tick)
{
    return static_cast<int>((GetTickCount() - tick) / 1000);
}

class GetLastInputInfoBackend : public IIdleBackend
{
public:
    explicit GetLastInputInfoBackend(GetLastInputInfoFunction function_)
        : function(function_)
    {}

    int getSeconds() override
    {
        LASTINPUTINFO info{};
        info.cbSize = sizeof(info);
        if (function(&info) == 0) {
            LOG_MESSAGE(logger::Error) << "GetLastInputInfo returned not ok";
            return 0;
        }
        return SecondsSince(info.dwTime);
    }

private:
    GetLastInputInfoFunction function;
};

class IdleUIGetLastInputTimeBackend : public IIdleBackend
{
public:
    explicit IdleUIGetLastInputTimeBackend(IdleUIGetLastInputTimeFunction function_)
        : function(function_)
    {}

    int getSeconds() override { return SecondsSince(function()); }

private:
    IdleUIGetLastInputTimeFunction function;
};

/// Returns null if the library or the function does not exist. The library stays loaded.
template<typename Function>
Function Resolve(const QString& libraryName, const char* name)
{
    QLibrary library(libraryName);
    return library.load() ? reinterpret_cast<Function>(library.resolve(name)) : nullptr;
}

} // namespace

std::unique_ptr<IIdleBackend> createIdleBackend()
{
    if (const auto function =
            Resolve<GetLastInputInfoFunction>(QStringLiteral("user32"), "GetLastInputInfo")) {
        return std::make_unique<GetLastInputInfoBackend>(function);
    }
    if (const auto function =
            Resolve<IdleUIGetLastInputTimeFunction>(QStringLiteral("idleui"), "IdleUIGetLastInputTime")) {
        return std::make_unique<IdleUIGetLastInputTimeBackend>(function);
    }
    LOG_MESSAGE(logger::Error) << "cant resolve GetLastInputInfo Or IdleUIGetLastInputTime";
    return nullptr;
}

} // namespace common
