#pragma once

namespace vxtool
{

/// Makes the thread ready for calls into the desktop's shell, which on Windows means COM.
class DesktopSession
{
public:
    DesktopSession();
    ~DesktopSession();

private:
    DesktopSession(const DesktopSession&) = delete;
    DesktopSession& operator=(const DesktopSession&) = delete;
};

} // namespace vxtool
