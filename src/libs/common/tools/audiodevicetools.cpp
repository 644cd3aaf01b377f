#include <common/tools/audiodevicetools.h>

#include <common/logger/logger.h>

#include "audioendpoint.h"

namespace tools
{

QString AudioDeviceTools::getDefaultDeviceName(bool render)
{
    const AudioEndpoint endpoint = FindDefaultAudioEndpoint(render);
    if (endpoint.failedCall == nullptr) {
        return endpoint.name;
    }
    // LOG_MESSAGE cannot write a line without a channel.
    common::logger::Message(common::logger::GetLogger(), nullptr, common::logger::Error, __FILE__,
                            VXCOMMON_FUNCTION_NAME, __LINE__)
            .GetStream()
        << "tools::AudioDeviceTools::getDefaultDeviceName " << endpoint.failedCall << " error "
        << endpoint.error;
    return {};
}

} // namespace tools
