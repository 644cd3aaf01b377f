#pragma once

#include <QString>

namespace common::shell
{

struct DiskSerial
{
    unsigned long error = 0; ///< Error number of the system; 0 if the disk could be queried.
    QString text;            ///< Empty after an error, or if the disk has no serial number.
};

/// Queries the disk that holds the current directory.
DiskSerial ReadDiskSerial();

} // namespace common::shell
