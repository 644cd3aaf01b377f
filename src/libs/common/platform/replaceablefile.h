#pragma once

class QString;

namespace common::platform
{

/// Returns whether the open file `newFile` can replace the file at `path` and keep owner, group and access
/// control list. Returns false if the old file has other hard links.
bool IsReplaceable(const QString& path, int newFile);

} // namespace common::platform
