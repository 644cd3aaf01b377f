#pragma once

#include <common/vxcommon_export.h>

#include <QString>

namespace common::shell
{

/// Identifies this machine. Thread-safe, except while a thread sets the alternative id.
class VXCOMMON_EXPORT DeviceInfo
{
public:
    DeviceInfo() = delete;

    /**
     * Returns the serial number of the disk that holds the current directory.
     *
     * On Windows, queries the physical drive with IOCTL_STORAGE_QUERY_PROPERTY. On Linux, reads the udev
     * record or, if it contains no serial number, the files that the kernel provides below /sys. If no
     * serial number is available, returns the alternative id or, if that is empty, a UUID in braces that is
     * created once per process. Without a serial number, each call logs a Crit line on the channel
     * "common.devinfo" with the system's error number, or 0 if the disk could be queried.
     */
    static QString GetSerialNumber();

    /// Returns the MD5 sum, in lower-case hexadecimal, of `prefix` followed by GetSerialNumber().
    static QString GetSerialNumberMD5Hash(const QString& prefix);

    /// Returns a modifiable reference to the alternative id, for disks without a serial number. Initially
    /// empty.
    static QString& GetAlternativeDeviceId();
    /// Sets the alternative id, for disks without a serial number.
    static void SetAlternativeDeviceId(const QString& id);
};

} // namespace common::shell
