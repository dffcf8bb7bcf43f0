#include "zeb/util/CRC32.h"

#include "zeb/util/BlockDigestImpl.h"

namespace Util {

namespace {

constexpr unsigned POLYNOMIAL = 0xEDB88320;
constexpr unsigned COUNT = 16;

// rows[n][c] is the check of the byte c with n zeros behind it, so that 16 bytes are done by 16 look-ups that
// do not wait for each other.
struct Tables_ {
    unsigned rows[COUNT][256] = {};

    constexpr Tables_() {
        for (unsigned c = 0; c < 256; ++c) {
            unsigned value = c;
            for (unsigned bit = 0; bit < 8; ++bit)
                value = value >> 1 ^ (value & 1) * POLYNOMIAL;
            rows[0][c] = value;
        }
        for (unsigned n = 1; n < COUNT; ++n)
            for (unsigned c = 0; c < 256; ++c)
                rows[n][c] = rows[n - 1][c] >> 8 ^ rows[0][rows[n - 1][c] & 0xFF];
    }
};

constexpr Tables_ TABLES;

// The checks of the four bytes of a word, the last of which has `behind` bytes behind it.
unsigned Look_(unsigned word, unsigned behind) {
    return (TABLES.rows[behind + 3][word & 0xFF] ^ TABLES.rows[behind + 2][word >> 8 & 0xFF]) ^
           (TABLES.rows[behind + 1][word >> 16 & 0xFF] ^ TABLES.rows[behind][word >> 24]);
}

unsigned Blocks_(unsigned state, unsigned char const* at, unsigned long count) {
    for (; count != 0; --count, at += COUNT) {
        unsigned words[4];
        LoadWords<std::endian::little>(words, at);
        unsigned const ahead = Look_(words[1], 8) ^ Look_(words[2], 4) ^ Look_(words[3], 0);
        state = Look_(words[0] ^ state, 12) ^ ahead; // the one that waits for the block before
    }
    return state;
}

} // namespace

void CRC32::Update(void const* data, unsigned long size) {
    auto const* at = static_cast<unsigned char const*>(data);
    unsigned const* table = table_;
    if (table == nullptr) {
        table = TABLES.rows[0];
        state_ = Blocks_(state_, at, size / COUNT);
        at += size / COUNT * COUNT;
        size %= COUNT;
    }
    for (; size != 0; --size)
        state_ = state_ >> 8 ^ table[(state_ ^ *at++) & 0xFF];
}

} // namespace Util
