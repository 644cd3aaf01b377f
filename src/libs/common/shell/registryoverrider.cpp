#include <common/shell/registryoverrider.h>

#include <common/logger/logger.h>

#include "registrykeys.h"

#include <new>

namespace common
{

/// Holds the redirected predefined key, or null if nothing is redirected.
class RegistryOverriderImpl
{
public:
    RegistryOverriderImpl(registrykeys::Key source, registrykeys::Key destination, const wchar_t* subkey);

    void Restore() const;

private:
    registrykeys::Key overridden = nullptr;
};

namespace
{

constexpr logger::Channel logChannel{"common.shell"};

/// Name of a predefined key, and its value in the Windows headers.
struct RootName
{
    const char* name;
    quint32 value;
};

constexpr RootName rootNames[] = {{"HKEY_CLASSES_ROOT", 0x80000000},
                                  {"HKEY_CURRENT_USER", 0x80000001},
                                  {"HKEY_LOCAL_MACHINE", 0x80000002},
                                  {"HKEY_USERS", 0x80000003},
                                  {"HKEY_PERFORMANCE_DATA", 0x80000004},
                                  {"HKEY_PERFORMANCE_TEXT", 0x80000050},
                                  {"HKEY_PERFORMANCE_NLSTEXT", 0x80000060},
                                  {"HKEY_CURRENT_CONFIG", 0x80000005},
                                  {"HKEY_DYN_DATA", 0x80000006},
                                  {"HKEY_CURRENT_USER_LOCAL_SETTINGS", 0x80000007}};

registrykeys::Key RootKey(const QString& name)
{
    for (const RootName& root : rootNames) {
        if (name == QLatin1String(root.name)) {
            // Handles of predefined keys are sign-extended to the width of a pointer.
            return reinterpret_cast<registrykeys::Key>(static_cast<qintptr>(static_cast<qint32>(root.value)));
        }
    }
    return nullptr;
}

/// Returns an error code for the log lines, padded with spaces.
QString ErrorText(unsigned long error)
{
    constexpr int width = 8;
    constexpr int base = 16;
    return QStringLiteral("0x%1").arg(error, width, base, QLatin1Char(' '));
}

} // namespace

RegistryOverriderImpl::RegistryOverriderImpl(registrykeys::Key source, registrykeys::Key destination,
                                             const wchar_t* subkey)
{
    registrykeys::Key opened = nullptr;
    if (const unsigned long error = registrykeys::Open(destination, subkey, opened); error != 0) {
        LOG_MESSAGE(logger::Error) << "Failed to open dstKey: " << ErrorText(error);
        return;
    }
    const unsigned long error = registrykeys::Override(source, opened);
    registrykeys::Close(opened);
    if (error != 0) {
        LOG_MESSAGE(logger::Error) << "Failed to override srcKey: " << ErrorText(error);
        return;
    }
    overridden = source;
}

void RegistryOverriderImpl::Restore() const
{
    if (overridden != nullptr) {
        LOG_MESSAGE(logger::Debug) << "Restoring ovveridden key";
        registrykeys::Override(overridden, nullptr);
    }
}

RegistryOverrider::RegistryOverrider(const QString& sourceRoot, const QString& destinationRoot,
                                     const wchar_t* destinationSubkey)
    : impl(CreateRegistryOverriderImpl(sourceRoot, destinationRoot, destinationSubkey))
{}

RegistryOverrider::~RegistryOverrider()
{
    Destroy(impl);
}

RegistryOverriderImpl* RegistryOverrider::CreateRegistryOverriderImpl(const QString& sourceRoot,
                                                                      const QString& destinationRoot,
                                                                      const wchar_t* destinationSubkey)
{
    return new (std::nothrow)
        RegistryOverriderImpl(RootKey(sourceRoot), RootKey(destinationRoot), destinationSubkey);
}

void RegistryOverrider::Destroy(RegistryOverriderImpl* impl)
{
    if (impl != nullptr) {
        impl->Restore();
        delete impl;
    }
}

} // namespace common
