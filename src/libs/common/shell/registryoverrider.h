#pragma once

#include <common/vxcommon_export.h>

#include <QString>

namespace common
{

class RegistryOverriderImpl;

/**
 * Redirects a predefined root of the Windows registry to another key (RegOverridePredefKey) during the
 * lifetime of the object.
 *
 * The redirection affects all threads of the process, and overrides do not nest: when any of them ends, the
 * root returns to its default. Use the class only while no other thread uses that root.
 *
 * Roots are given by name, such as "HKEY_CLASSES_ROOT", in upper case. If the redirection fails, the object
 * is inert, and an Error line on the log channel "common.shell" reports the Windows error code. On Linux the
 * redirection always fails, with code 120 (ERROR_CALL_NOT_IMPLEMENTED).
 */
class VXCOMMON_EXPORT RegistryOverrider
{
public:
    /**
     * @param sourceRoot root to redirect
     * @param destinationRoot root of the replacement key
     * @param destinationSubkey path of the replacement key below its root; the key must exist
     */
    RegistryOverrider(const QString& sourceRoot, const QString& destinationRoot,
                      const wchar_t* destinationSubkey);

    /// Shares the redirection of `other`, without reference counting.
    /// @warning Destroy only one of the copies; destroying another one is undefined behaviour.
    RegistryOverrider(const RegistryOverrider& other) = default;

    /// Shares the redirection of `other`. The previous redirection of this object never ends.
    /// @warning Destroy only one of the copies; destroying another one is undefined behaviour.
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
