#pragma once

// Four words side by side, in the compiler's own form of vectors: for the schedules of digests, which are
// made while the rounds wait for each other.

#include "zeb/util/BlockDigestImpl.h"

namespace Util {

using LanesT = uint32_t __attribute__((vector_size(16)));
using PairsT = uint64_t __attribute__((vector_size(16)));
constexpr unsigned LANES = 4;

// Four words of a block, their first byte highest.
inline LanesT LoadLanes(unsigned char const* from) {
    LanesT lanes;
    memcpy(&lanes, from, sizeof lanes);
    if constexpr (std::endian::native == std::endian::big) return lanes;
    lanes = (lanes & 0xFF00FF) << 8 | (lanes >> 8 & 0xFF00FF);
    return lanes << 16 | lanes >> 16;
}

// The words that the rounds add. They are taken out of their lanes in twos, which costs less than one by one.
template<unsigned COUNT>
class ScheduledWords {
public:
    // GROUP counts by four words.
    template<unsigned GROUP>
    [[gnu::always_inline]] void Set(LanesT lanes) {
        memcpy(pairs_ + LANES / 2 * GROUP, &lanes, sizeof lanes);
    }

    template<unsigned I>
    [[gnu::always_inline]] uint32_t Get() const {
        constexpr bool IS_UPPER = (I % 2 != 0) == (std::endian::native == std::endian::little);
        return static_cast<uint32_t>(pairs_[I / 2] >> (IS_UPPER ? 32 : 0));
    }

private:
    uint64_t pairs_[COUNT / 2];
};

} // namespace Util
