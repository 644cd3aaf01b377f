#pragma once

#include <common/vxcommon_export.h>

#include <QString>

namespace common::shell
{

/// The identity of this machine. Can be called from any thread while none assigns the alternative id.
class VXCOMMON_EXPORT DeviceInfo
{
public:
    DeviceInfo() = delete;

    /**
     * Returns the serial number of the disk that holds the current directory.
     *
     * Windows: IOCTL_STORAGE_QUERY_PROPERTY on the physical drive. Linux: the record of udev, or
     * the serial number that the kernel shows below /sys. Without one, returns the alternative id or, if that
     * is empty, a UUID in braces that is created once per process. Each such call writes a Crit line on the
     * channel "common.devinfo" with the error number of the system, 0 for a disk without a serial number.
     */
    static QString GetSerialNumber();

    /// Returns the MD5 sum, in lower-case hexadecimal, of `prefix` followed by GetSerialNumber().
    static QString GetSerialNumberMD5Hash(const QString& prefix);

    /// Returns the identity for disks without a serial number, for reading and assignment; empty at first.
    static QString& GetAlternativeDeviceId();
    /// Sets the identity for disks without a serial number.
    static void SetAlternativeDeviceId(const QString& id);
};

} // namespace common::shell
