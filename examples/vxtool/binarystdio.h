#pragma once

namespace vxtool
{

/// Makes standard input and output carry bytes unchanged, so that output is the same on every platform.
void UseBinaryStdio();

} // namespace vxtool
