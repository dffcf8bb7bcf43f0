#include "zeb/util/CRC16.h"

#include "zeb/util/BlockDigestImpl.h"

namespace Util {

namespace {

constexpr uint32_t TOP_BIT = 0x80000000;

constexpr uint32_t Folded_(uint64_t sum) {
    while (sum > 0xFFFF)
        sum = (sum & 0xFFFF) + (sum >> 16);
    return static_cast<uint32_t>(sum);
}

// A byte as one half of a word in memory.
uint32_t Half_(unsigned char byte, bool isSecond) {
    bool const isLow = (std::endian::native == std::endian::little) != isSecond;
    return static_cast<uint32_t>(byte) << (isLow ? 0 : 8);
}

} // namespace

void CRC16::AddWord_(uint32_t word) {
    sum_ += word;
    if ((sum_ & TOP_BIT) != 0) sum_ = Folded_(sum_);
}

void CRC16::Update(void const* data, unsigned long size) {
    auto const* at = static_cast<unsigned char const*>(data);
    if (size == 0) return;
    if (odd_) {
        AddWord_(Half_(*at++, true));
        odd_ = false;
        --size;
    }
    // A sum of 32-bit halves folds to the same 16 bits, and 2^32 of them fit into 64 bits.
    uint64_t low = 0, high = 0, word;
    for (; size >= 8; size -= 8, at += 8) {
        memcpy(&word, at, sizeof word);
        low += word & 0xFFFFFFFF;
        high += word >> 32;
    }
    AddWord_(Folded_(low));
    AddWord_(Folded_(high));
    for (; size >= 2; size -= 2, at += 2)
        AddWord_(Half_(at[0], false) + Half_(at[1], true));
    if (size != 0) {
        AddWord_(Half_(*at, false));
        odd_ = true;
    }
}

unsigned short CRC16::Digest() const {
    auto const inverse = static_cast<uint16_t>(~Folded_(sum_));
    return __builtin_bswap16(inverse);
}

} // namespace Util
