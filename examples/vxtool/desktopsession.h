#pragma once

#include <QtGlobal>

namespace vxtool
{

/// Makes the thread ready for calls into the desktop's shell, which on Windows means COM.
class DesktopSession
{
public:
    DesktopSession();
    ~DesktopSession(); // NOLINT(performance-trivially-destructible): it has work to do on Windows.

private:
    Q_DISABLE_COPY(DesktopSession)
};

} // namespace vxtool
