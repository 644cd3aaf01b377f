#include "../desktopsession.h"

#include <objbase.h>

namespace vxtool
{

DesktopSession::DesktopSession()
{
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
}

DesktopSession::~DesktopSession()
{
    CoUninitialize();
}

} // namespace vxtool
