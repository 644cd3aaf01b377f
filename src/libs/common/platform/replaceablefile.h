#pragma once

class QString;

namespace common::platform
{

/// Returns whether the open file `newFile` can take the place of the file at `path` without a change of its
/// owner, its group or its access control list, and the old file has no further name.
bool IsReplaceable(const QString& path, int newFile);

} // namespace common::platform
