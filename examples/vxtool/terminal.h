#pragma once

namespace vxtool
{

/// Columns of the terminal that standard error writes to; 0 if it is none.
int TerminalWidth();

} // namespace vxtool
