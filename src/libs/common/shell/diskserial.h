#pragma once

#include <QString>

namespace common::shell
{

struct DiskSerial
{
    unsigned long error = 0; ///< The system's error number; 0 if the disk was asked.
    QString text;            ///< Empty after an error, and if the disk has none.
};

/// Asks the disk that holds the current directory.
DiskSerial ReadDiskSerial();

} // namespace common::shell
