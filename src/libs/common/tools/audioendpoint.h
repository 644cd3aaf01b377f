#pragma once

#include <QString>

namespace tools
{

/// The result of a query for a default audio device.
struct AudioEndpoint
{
    QString name;
    const char* failedCall = nullptr; ///< The call that failed; null if none did.
    long error = 0;                   ///< Error code of the failed call.
};

AudioEndpoint FindDefaultAudioEndpoint(bool render);

} // namespace tools
