#pragma once

#include <common/vxcommon_export.h>

#include <QString>

namespace common::chrome
{

/**
 * Requests that Chrome install an extension from its store for the current user, or withdraws the request.
 *
 * Windows: writes the registry key that the browser documents for external extensions. Linux: writes the
 * same key to the settings tree of this library and, for Chromium, a file to the user's directory "External
 * Extensions". On Linux, Chrome provides no per-user directory of this kind. Thread-safe. Log channel:
 * "common.pluginutils".
 */
class VXCOMMON_EXPORT PluginUtils
{
public:
    PluginUtils() = delete;

    /// Always returns true. Kept for compatibility: callers may assume that the browser is installed.
    static bool IsChromeInstalled();

    /// Returns whether the installation of `id` is requested with the address of the store.
    static bool IsRegistered(const QString& id);

    /**
     * Requests the installation of `id`. Replaces a request that has another address.
     *
     * @return whether a write was attempted; false if the request already exists (logs a Warn line) or the
     * settings are not writable (logs an Error line). If the write fails, logs an Error line and returns
     * true.
     */
    static bool RegisterPlugin(const QString& id);

    /// Withdraws the request for `id` if IsRegistered(id). Always returns true; failures are only logged.
    static bool UnregisterPlugin(const QString& id);

private:
    ~PluginUtils() = default;
};

} // namespace common::chrome
