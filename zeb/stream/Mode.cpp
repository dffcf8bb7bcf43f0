#include "zeb/stream/Mode.h"

#include <fcntl.h>

namespace Io {

ModeT ModeOfFlags(int flags) {
    if ((flags & O_RDWR) != 0) return MODE_READ_WRITE;
    return (flags & O_WRONLY) != 0 ? MODE_WRITE : MODE_READ;
}

} // namespace Io
