#pragma once

#include <common/vxcommon_export.h>

#include <QString>

namespace common::chrome
{

/**
 * Asks the Chrome browser to install an extension from its own store, for the current user, and withdraws
 * that.
 *
 * Windows: the browser's documented key for external extensions in the registry. Linux: the same key in the
 * settings tree of this library and, for Chromium, a file in the user's "External Extensions"; Chrome itself
 * has no such place for a single user there. Any thread may call. Log channel: "common.pluginutils".
 */
class VXCOMMON_EXPORT PluginUtils
{
public:
    PluginUtils() = delete;

    /// Always true: nothing is looked for, and callers may assume the browser. This is meant.
    static bool IsChromeInstalled();

    /// Whether the extension `id` is asked for with exactly the store's address.
    static bool IsRegistered(const QString& id);

    /**
     * Asks for the extension `id`; another address in its place is overwritten.
     *
     * @return whether writing was tried: false if it is asked for already (a Warn line) or the settings
     * cannot be written (an Error line). A write that fails is an Error line and true.
     */
    static bool RegisterPlugin(const QString& id);

    /// Withdraws the extension `id` if IsRegistered. Always true; a failure is an Error line.
    static bool UnregisterPlugin(const QString& id);

private:
    ~PluginUtils() = default;
};

} // namespace common::chrome
