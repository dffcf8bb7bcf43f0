#include "zeb/util/CRC16.h"

namespace Util {

namespace {

using LanesT_ = uint32_t __attribute__((vector_size(16)));

constexpr unsigned long BLOCKS_MAX = 32768; // 65,536 halves of 16 bits for each lane

// The sum of two vectors a block. A lane of `all` is the sum of words modulo 2^32, one of `high` that of
// their upper halves; so the difference is that of their lower halves, which has room in 32 bits.
uint64_t SumOfBlocks_(unsigned char const* at, unsigned long count) {
    LanesT_ all[2] = {}, high[2] = {}, first, second;
    for (; count != 0; --count, at += sizeof all) {
        memcpy(&first, at, sizeof first);
        memcpy(&second, at + sizeof first, sizeof second);
        all[0] += first;
        all[1] += second;
        high[0] += first >> 16;
        high[1] += second >> 16;
    }
    LanesT_ const upper = high[0] + high[1], lower = all[0] + all[1] - (upper << 16);
    uint64_t sum = 0;
    for (unsigned lane = 0; lane < 4; ++lane)
        sum += uint64_t{upper[lane]} + lower[lane];
    return sum;
}

} // namespace

void CRC16::UpdateLong_(void const* data, unsigned long size) {
    if (size == 0) return;
    auto const* at = static_cast<unsigned char const*>(data);
    uint64_t sum = sum_;
    if (odd_) {
        sum += static_cast<uint64_t>(*at++) << (IS_LITTLE_ ? 8 : 0);
        --size;
    }
    for (unsigned long count; (count = size / BLOCK_SIZE_) != 0;) {
        if (count > BLOCKS_MAX) count = BLOCKS_MAX;
        sum = Sum_(sum, SumOfBlocks_(at, count));
        at += count * BLOCK_SIZE_;
        size -= count * BLOCK_SIZE_;
    }
    End_(sum, at, size);
}

} // namespace Util
