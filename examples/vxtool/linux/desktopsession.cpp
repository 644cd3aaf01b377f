#include "../desktopsession.h"

namespace vxtool
{

// Nothing needs to be set up.
DesktopSession::DesktopSession() = default;
DesktopSession::~DesktopSession() = default;

} // namespace vxtool
