#pragma once

#include <common/vxcommon_export.h>

#include <QString>

namespace common::shell
{

/// The identity of this machine. Any thread may call, as long as none assigns the alternative id meanwhile.
class VXCOMMON_EXPORT DeviceInfo
{
public:
    DeviceInfo() = delete;

    /**
     * The serial number of the disk that holds the current directory.
     *
     * Windows: IOCTL_STORAGE_QUERY_PROPERTY on the physical drive. Linux: udev's record of the disk, else
     * what the kernel shows below /sys. Where that gives nothing: the alternative id or, if that is empty, a
     * UUID in braces that is made once per process; a Crit line on the channel "common.devinfo" says so at
     * each call, with the system's error number, which is 0 for a disk without a serial number.
     */
    static QString GetSerialNumber();

    /// The MD5 sum, in lower-case hexadecimal, of `prefix` followed by GetSerialNumber().
    static QString GetSerialNumberMD5Hash(const QString& prefix);

    /// The identity to use where the disk gives none; empty at first, and open to assignment.
    static QString& GetAlternativeDeviceId();
    /// Sets the identity to use where the disk gives none.
    static void SetAlternativeDeviceId(const QString& id);
};

} // namespace common::shell
