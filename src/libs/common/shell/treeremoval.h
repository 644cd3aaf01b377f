#pragma once

class QString;

namespace common
{

/// Removes a directory with all that is in it, hidden entries included. Links are removed as links. Goes on
/// after a failure and returns whether there was none.
bool RemoveTree(const QString& path);

} // namespace common
