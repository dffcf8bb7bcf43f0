#include "libzeb/zeb_crcImpl.h"

#if defined(__aarch64__)

#include <arm_acle.h>
#include <string.h>
#include <sys/auxv.h>

// By the instruction for this polynomial, 8 bytes at a time.

namespace {

constexpr unsigned long HAS_CRC32 = 1UL << 7;

__attribute__((target("+crc"))) uint32_t ByInstruction(uint32_t crc, unsigned char const* data, size_t size) {
    for (; size >= 8; size -= 8, data += 8) {
        uint64_t word;
        memcpy(&word, data, sizeof word);
        crc = __crc32d(crc, word);
    }
    for (; size != 0; --size)
        crc = __crc32b(crc, *data++);
    return crc;
}

} // namespace

zeb_crc32_fast_t_ zeb_crc32_fast_() {
    return (getauxval(AT_HWCAP) & HAS_CRC32) != 0 ? ByInstruction : nullptr;
}

#endif
