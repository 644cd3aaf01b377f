#pragma once

#include <common/vxcommon_export.h>

#include <QString>

namespace common
{

class RegistryOverriderImpl;

/**
 * Redirects one predefined root of the Windows registry to another key as long as it lives
 * (RegOverridePredefKey).
 *
 * The redirection holds for the whole process and for all its threads, and overrides do not nest: the end of
 * any of them restores the root to its default. Use it where no other thread works with that root.
 *
 * Roots are given by name, such as "HKEY_CLASSES_ROOT", in upper case. If the redirection cannot be made, the
 * object is inert; only an Error line on the log channel "common.shell" tells, with the Windows error code.
 * On Linux it always is, with the code 120 (ERROR_CALL_NOT_IMPLEMENTED).
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

    /// A copy stands for the same redirection; the first of the copies that dies ends it.
    RegistryOverrider(const RegistryOverrider& other) = default;

    /// Takes over the other's redirection; the own one is left in force for good.
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
