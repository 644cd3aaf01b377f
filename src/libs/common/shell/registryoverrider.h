#pragma once

#include <common/vxcommon_export.h>

#include <QString>

namespace common
{

class RegistryOverriderImpl;

/**
 * Redirects a predefined root of the Windows registry to another key during its lifetime
 * (RegOverridePredefKey).
 *
 * The redirection affects all threads of the process, and overrides do not nest: the end of any of them
 * restores the root to its default. Use it where no other thread works with that root.
 *
 * Roots are given by name, such as "HKEY_CLASSES_ROOT", in upper case. If the redirection fails, the object
 * is inert, and an Error line on the log channel "common.shell" reports the Windows error code. On Linux it
 * always fails, with the code 120 (ERROR_CALL_NOT_IMPLEMENTED).
 */
class VXCOMMON_EXPORT RegistryOverrider
{
public:
    /**
     * @param sourceRoot root that is redirected
     * @param destinationRoot root of the key that takes its place
     * @param destinationSubkey path of that key below its root; the key must exist
     */
    RegistryOverrider(const QString& sourceRoot, const QString& destinationRoot,
                      const wchar_t* destinationSubkey);

    /// Shares the redirection of `other`, without counting.
    /// @warning Only one of the copies may be destroyed. The destruction of another one is undefined.
    RegistryOverrider(const RegistryOverrider& other) = default;

    /// Shares the redirection of `other`, and never ends its own former one.
    /// @warning Only one of the copies may be destroyed. The destruction of another one is undefined.
    RegistryOverrider& operator=(const RegistryOverrider& other) = default;

    virtual ~RegistryOverrider();

private:
    static RegistryOverriderImpl* CreateRegistryOverriderImpl(const QString& sourceRoot,
                                                              const QString& destinationRoot,
                                                              const wchar_t* destinationSubkey);
    static void Destroy(RegistryOverriderImpl* impl);

    RegistryOverriderImpl* impl;
};

} // namespace common
