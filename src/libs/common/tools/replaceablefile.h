#pragma once

class QString;

namespace tools
{

/// Whether a new file may take the place of the one at `path` without being another's or leaving other names
/// of it behind: it has no second name and belongs to this user and group.
bool IsReplaceable(const QString& path);

} // namespace tools
