#pragma once

class QString;

namespace common
{

/// Removes a directory and its contents, including hidden entries. Removes links as links. Continues
/// after a failure. Returns whether everything was removed.
bool RemoveTree(const QString& path);

} // namespace common
