#include "libzeb/zeb_crc.h"

#include "libzeb/zeb_crcImpl.h"

#include <string.h>

namespace {

constexpr uint32_t POLYNOMIAL = 0xEDB88320;
constexpr unsigned COUNT = 16;

// rows[n][c] is the check of the byte c with n zeros behind it, so that 16 bytes are 16 look-ups that do not
// wait for each other.
struct Tables {
    uint32_t rows[COUNT][256] = {};

    constexpr Tables() {
        for (uint32_t c = 0; c < 256; ++c) {
            uint32_t value = c;
            for (unsigned bit = 0; bit < 8; ++bit)
                value = value >> 1 ^ (value & 1) * POLYNOMIAL;
            rows[0][c] = value;
        }
        for (unsigned n = 1; n < COUNT; ++n)
            for (unsigned c = 0; c < 256; ++c)
                rows[n][c] = rows[n - 1][c] >> 8 ^ rows[0][rows[n - 1][c] & 0xFF];
    }
};

constexpr Tables TABLES;

// The checks of the four bytes of a word, the last of which has `behind` bytes behind it.
uint32_t Look(uint32_t word, unsigned behind) {
    return (TABLES.rows[behind + 3][word & 0xFF] ^ TABLES.rows[behind + 2][word >> 8 & 0xFF]) ^
           (TABLES.rows[behind + 1][word >> 16 & 0xFF] ^ TABLES.rows[behind][word >> 24]);
}

uint32_t Word(unsigned char const* at) {
    uint32_t word;
    memcpy(&word, at, sizeof word); // both processors are little-endian
    return word;
}

} // namespace

uint32_t zeb_crc32_tables_(uint32_t crc, unsigned char const* data, size_t size) {
    for (; size >= COUNT; size -= COUNT, data += COUNT) {
        uint32_t const ahead = Look(Word(data + 4), 8) ^ Look(Word(data + 8), 4) ^ Look(Word(data + 12), 0);
        crc = Look(Word(data) ^ crc, 12) ^ ahead; // the one that waits for the bytes before
    }
    for (; size != 0; --size)
        crc = crc >> 8 ^ TABLES.rows[0][(crc ^ *data++) & 0xFF];
    return crc;
}

void zeb_crc32_update(unsigned* crc, void const* data, size_t size) {
    static zeb_crc32_fast_t_ const fast = zeb_crc32_fast_();
    *crc = (fast != nullptr ? fast : zeb_crc32_tables_)(*crc, static_cast<unsigned char const*>(data), size);
}
