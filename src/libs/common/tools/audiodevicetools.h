#pragma once

#include <common/vxcommon_export.h>

#include <QString>

namespace tools
{

/// Queries the default audio devices. Thread-safe.
class VXCOMMON_EXPORT AudioDeviceTools
{
public:
    AudioDeviceTools() = delete;

    /**
     * Returns the display name of the default device.
     *
     * @param render true for playback, false for capture
     * @return the name; empty if there is no device or its name is not available. In that case, an Error
     * line without a channel names the failed call.
     *
     * Windows: queries IMMDeviceEnumerator and PKEY_Device_FriendlyName of Core Audio. Initialises COM on the
     * calling thread during the call, and fails on a thread of the multithreaded apartment. Linux: queries
     * PulseAudio for the description of the default sink or source. Loads the client library on the first
     * call and blocks for at most 1 s. Ignores sink monitors and the dummy sink "auto_null" of a server
     * without devices.
     */
    static QString getDefaultDeviceName(bool render);
};

} // namespace tools
