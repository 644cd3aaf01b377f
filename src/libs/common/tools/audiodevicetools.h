#pragma once

#include <common/vxcommon_export.h>

#include <QString>

namespace tools
{

/// The default sound devices. Can be called from any thread.
class VXCOMMON_EXPORT AudioDeviceTools
{
public:
    AudioDeviceTools() = delete;

    /**
     * Returns the name of the default device as the system shows it to the user.
     *
     * @param render true for playback, false for capture
     * @return empty if there is no device or its name is not available; an Error line without a channel then
     * names the failed call
     *
     * Windows: Core Audio's IMMDeviceEnumerator and PKEY_Device_FriendlyName; uses COM on the calling thread
     * for the duration of the call, and fails on a thread of the multithreaded apartment. Linux: the
     * description of the default sink or source through the client library of PulseAudio, which is loaded at
     * the first call; blocks for at most 1 s. The monitor of a sink is not a capture device, and the dummy
     * sink of a server without a device ("auto_null") is not a playback device.
     */
    static QString getDefaultDeviceName(bool render);
};

} // namespace tools
