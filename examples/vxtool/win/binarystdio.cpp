#include "../binarystdio.h"

#include <cstdio>
#include <fcntl.h>
#include <io.h>

namespace vxtool
{

void UseBinaryStdio()
{
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
}

} // namespace vxtool
