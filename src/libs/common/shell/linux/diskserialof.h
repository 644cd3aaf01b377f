#pragma once

#include "../diskserial.h"

#include <QString>

#include <sys/types.h>

namespace common::shell
{

/**
 * Returns the serial number of the disk that holds a file system.
 *
 * @param root prefix of /proc, /sys, /run; empty except in tests
 * @param device st_dev of a file on the file system
 */
DiskSerial ReadDiskSerialOf(const QString& root, dev_t device);

} // namespace common::shell
