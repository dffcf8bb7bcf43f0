#include "fuzz/FuzzHeap.h"

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <new>

#include <sys/mman.h>
#include <sys/types.h>

namespace {

constinit bool armed = false;
constinit unsigned long left = 0;
constinit bool fired = false;

// What no device has.
constexpr size_t LIMIT = 1UL << 26;

bool Fails(size_t size) {
    if (!armed) return false;
    if (size <= LIMIT && (left == 0 || --left != 0)) return false;
    fired = true;
    errno = ENOMEM;
    return true;
}

} // namespace

void FuzzHeap::Arm(unsigned long failing) {
    left = failing;
    fired = false;
    armed = true;
}

bool FuzzHeap::Disarm() {
    armed = false;
    return fired;
}

// clang-format off
extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
int   __real_posix_memalign(void** block, size_t alignment, size_t size);
void* __real_mmap(void* address, size_t size, int protection, int flags, int fd, off_t offset);
void* __real__ZnwmRKSt9nothrow_t(size_t size, std::nothrow_t const& tag);
void* __real__ZnamRKSt9nothrow_t(size_t size, std::nothrow_t const& tag);

void* __wrap_malloc(size_t size) { return Fails(size) ? nullptr : __real_malloc(size); }
void* __wrap_calloc(size_t count, size_t size) { return Fails(count * size) ? nullptr : __real_calloc(count, size); }
void* __wrap_realloc(void* block, size_t size) {
    return size != 0 && Fails(size) ? nullptr : __real_realloc(block, size);
}
int __wrap_posix_memalign(void** block, size_t alignment, size_t size) {
    return Fails(size) ? ENOMEM : __real_posix_memalign(block, alignment, size);
}
void* __wrap_mmap(void* address, size_t size, int protection, int flags, int fd, off_t offset) {
    bool const before = fired;
    bool const fails = Fails(size);
    // A reservation that fails is done without.
    if ((flags & MAP_POPULATE) != 0) fired = before;
    return fails ? MAP_FAILED : __real_mmap(address, size, protection, flags, fd, offset);
}
void* __wrap__ZnwmRKSt9nothrow_t(size_t size, std::nothrow_t const& tag) {
    return Fails(size) ? nullptr : __real__ZnwmRKSt9nothrow_t(size, tag);
}
void* __wrap__ZnamRKSt9nothrow_t(size_t size, std::nothrow_t const& tag) {
    return Fails(size) ? nullptr : __real__ZnamRKSt9nothrow_t(size, tag);
}

void __wrap_syslog(int, char const*, ...) {}
void __wrap_vsyslog(int, char const*, va_list) {}
}
// clang-format on
