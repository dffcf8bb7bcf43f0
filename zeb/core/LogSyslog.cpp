#include "zeb/core/LogSyslog.h"

#include "zeb/core/Digits.h"

#include <cerrno>
#include <cstring>
#include <paths.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

namespace {

iovec Part_(char const* text) { return {const_cast<char*>(text), strlen(text)}; }

// -1 when nobody listens.
int Connect_() {
    sockaddr_un address = {AF_UNIX, _PATH_LOG};
    int const fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    if (connect(fd, reinterpret_cast<sockaddr const*>(&address), sizeof(address)) == 0) return fd;
    close(fd);
    return -1;
}

} // namespace

void LogSyslog_Send(int priority, char const* time, char const* process, char const* ident,
                    char const* text) {
    char mark[Digits::MAX_SIZE + 3] = {'<'};
    int const full = (priority & LOG_FACMASK) != 0 ? priority : priority | LOG_USER;
    char* const end = Digits::Print(mark + 1, full);
    end[0] = '>';
    end[1] = '\0';
    iovec parts[] = {Part_(mark), Part_(time),  Part_(" "),  Part_(process),
                     Part_(": "), Part_(ident), Part_(": "), Part_(text)};
    msghdr message = {};
    message.msg_iov = parts;
    message.msg_iovlen = sizeof(parts) / sizeof(parts[0]);
    int const fd = Connect_();
    if (fd < 0) return;
    while (sendmsg(fd, &message, MSG_NOSIGNAL) < 0 && errno == EINTR) {
    }
    close(fd);
}
