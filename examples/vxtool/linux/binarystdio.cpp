#include "../binarystdio.h"

namespace vxtool
{

// Standard streams are binary already.
void UseBinaryStdio() {}

} // namespace vxtool
