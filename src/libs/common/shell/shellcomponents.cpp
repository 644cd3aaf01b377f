#include <common/shell/shell.h>

#include <common/logger/logger.h>
#include <common/shell/registryoverrider.h>

#include "registrykeys.h"

#include <QLibrary>

namespace common
{

namespace
{

constexpr logger::Channel logChannel{"common.shell"};

/// E_NOINTERFACE
constexpr unsigned long noInterface = 0x80004002;

using EntryPoint = qint32 (*)(); ///< Returns an HRESULT, which has 32 bits on all platforms.

unsigned long Invoke(EntryPoint function, bool admin)
{
    if (admin || !registrykeys::IsAvailable()) {
        return static_cast<quint32>(function());
    }
    // Kept for compatibility: if the redirection fails, the component uses the real classes root.
    const RegistryOverrider overrider(QStringLiteral("HKEY_CLASSES_ROOT"),
                                      QStringLiteral("HKEY_CURRENT_USER"), L"Software\\Classes");
    return static_cast<quint32>(function());
}

unsigned long RunEntryPoint(const QString& path, bool admin, bool isRegistration)
{
    LOG_MESSAGE(logger::Debug) << (isRegistration ? "Registering" : "Unregistering") << " DLL: '" << path
                               << "' from " << (admin ? "admin" : "user");
    const char* const name = isRegistration ? "DllRegisterServer" : "DllUnregisterServer";
    QLibrary library(path);
    const auto function = reinterpret_cast<EntryPoint>(library.resolve(name));
    unsigned long result = noInterface;
    if (function == nullptr) {
        LOG_MESSAGE(logger::Error) << "Failed to resolve " << name << "()";
    } else {
        result = Invoke(function, admin);
        if (result != 0) {
            constexpr int width = 8;
            constexpr int base = 16;
            LOG_MESSAGE(logger::Error)
                << "Failed to invoke " << name
                << QStringLiteral("(): 0x%1").arg(result, width, base, QLatin1Char(' '));
        }
    }
    if (library.isLoaded() && !library.unload()) {
        LOG_MESSAGE(logger::Error) << "Failed to unload DLL";
    }
    return result;
}

} // namespace

unsigned long Shell::RegisterComponent(const QString& path, bool admin)
{
    return RunEntryPoint(path, admin, true);
}

unsigned long Shell::UnregisterComponent(const QString& path, bool admin)
{
    return RunEntryPoint(path, admin, false);
}

} // namespace common
