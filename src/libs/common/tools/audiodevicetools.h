#pragma once

#include <common/vxcommon_export.h>

#include <QString>

namespace tools
{

/// The default devices for sound. Any thread may call.
class VXCOMMON_EXPORT AudioDeviceTools
{
public:
    AudioDeviceTools() = delete;

    /**
     * What the user knows the default device by.
     *
     * @param render true for playback, false for capture
     * @return empty if there is none or it cannot be told; an Error line without a channel then names the
     * call that failed
     *
     * Windows: Core Audio's IMMDeviceEnumerator and PKEY_Device_FriendlyName; uses COM on the calling thread
     * for the time of the call, and refuses on a thread of the multithreaded apartment. Linux: the
     * description of the sound server's default sink or source through PulseAudio's client library; blocks
     * for 1 s at the most.
     */
    static QString getDefaultDeviceName(bool render);
};

} // namespace tools
