#pragma once

#include <sys/socket.h>

namespace Io {

// The pending error of a socket (SO_ERROR), or the failing result of the query itself.
inline int SocketError(int fd) {
    int error = 0;
    socklen_t length = sizeof(error);
    if (int const result = getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length)) return result;
    return error;
}

} // namespace Io
