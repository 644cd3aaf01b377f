#pragma once

class QString;

namespace common::platform
{

/// Returns whether the open file `newFile` can replace the file at `path` without changing owner, group or
/// access control list. Returns false if the old file has other hard links.
bool IsReplaceable(const QString& path, int newFile);

} // namespace common::platform
