#include "zeb/firmware/ErrorImpl.h"
#include "zeb/firmware/ImageImpl.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

char const* BaseName_(char const* path) {
    char const* const slash = strrchr(path, '/');
    return slash == nullptr ? path : slash + 1;
}

bool IsTransient_() { return errno == EINTR || errno == EAGAIN; }

} // namespace

bool zeb_fw_open_(zeb_fw_error* error, char const* path, size_t rawSize, int* fd, size_t* size) {
    *fd = open(path, O_RDONLY | O_CLOEXEC, 0);
    if (*fd < 0) return zeb_fw_error_sys_(error, 302, "unable to open %s", BaseName_(path));
    *size = rawSize;
    if (rawSize != 0) return true;
    struct stat about;
    if (fstat(*fd, &about) == 0) {
        *size = static_cast<size_t>(about.st_size);
        return true;
    }
    zeb_fw_error_sys_(error, 303, "unable to get a file size of %s", BaseName_(path));
    zeb_fw_error ignored; // the first failure is the one to tell
    zeb_fw_close_(&ignored, fd);
    return false;
}

bool zeb_fw_close_(zeb_fw_error* error, int* fd) {
    if (fd == nullptr) return zeb_fw_error_(error, 300, "unexpected descriptor value");
    int result;
    do
        result = close(*fd);
    while (result != 0 && IsTransient_());
    *fd = -1;
    return result == 0 || zeb_fw_error_sys_(error, 301, "unable to close a file");
}

bool zeb_fw_size_valid_(zeb_fw_error* error, size_t size) {
    auto const number = static_cast<long>(size), least = static_cast<long>(ZEB_FW_SIZE_MIN_),
               most = static_cast<long>(ZEB_FW_SIZE_MAX_);
    if (size < ZEB_FW_SIZE_MIN_)
        return zeb_fw_error_(error, 305, "firmware size %li is less than %li", number, least);
    if (size > ZEB_FW_SIZE_MAX_)
        return zeb_fw_error_(error, 306, "firmware size %li is greater than %li", number, most);
    return true;
}

size_t read_all_(int fd, void* buffer, size_t length) {
    size_t done = 0;
    while (done < length) {
        ssize_t const count = read(fd, static_cast<char*>(buffer) + done, length - done);
        if (count > 0) {
            done += static_cast<size_t>(count);
        } else if (count == 0) {
            errno = EIO;
            break;
        } else if (!IsTransient_()) {
            break;
        }
    }
    return done;
}
