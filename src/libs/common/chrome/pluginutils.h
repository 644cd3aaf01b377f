#pragma once

#include <common/vxcommon_export.h>

#include <QString>

namespace common::chrome
{

/**
 * Requests that the Chrome browser installs an extension from its own store for the current user, and
 * withdraws the request.
 *
 * Windows: the documented key of the browser for external extensions in the registry. Linux: the same key in
 * the settings tree of this library and, for Chromium, a file in "External Extensions" of the user; Chrome
 * has no such place for a single user there. Can be called from any thread. Log channel:
 * "common.pluginutils".
 */
class VXCOMMON_EXPORT PluginUtils
{
public:
    PluginUtils() = delete;

    /// Always returns true. Kept for compatibility: callers may assume that the browser is installed.
    static bool IsChromeInstalled();

    /// Returns whether the installation of `id` is requested with exactly the address of the store.
    static bool IsRegistered(const QString& id);

    /**
     * Requests the installation of `id`. Overwrites another address.
     *
     * @return whether a write was attempted: false if the request exists already (a Warn line) or the
     * settings cannot be written (an Error line). A failed write is reported by an Error line and true.
     */
    static bool RegisterPlugin(const QString& id);

    /// Withdraws the request for `id` if IsRegistered. Always returns true; a failure is an Error line.
    static bool UnregisterPlugin(const QString& id);

private:
    ~PluginUtils() = default;
};

} // namespace common::chrome
