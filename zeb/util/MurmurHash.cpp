#include "zeb/util/MurmurHash.h"

#include "zeb/core/CBuffer.h"
#include "zeb/util/BlockDigestImpl.h"

namespace Util {

unsigned MurmurHash::Digest(CBuffer const& data, unsigned seed) {
    unsigned char const* at = data.Bytes();
    unsigned long left = data.Size();
    uint32_t hash = seed;
    for (; left >= 4; left -= 4, at += 4) {
        uint32_t word;
        memcpy(&word, at, sizeof word);
        hash = Block_(hash, InOrder<std::endian::big>(word));
    }
    uint32_t tail = 0; // the first byte lowest, unlike in a block
    while (left != 0)
        tail = tail << 8 | at[--left];
    hash ^= std::rotl(tail * FACTOR_1, 15) * FACTOR_2; // nothing, without a tail
    return Finish_(hash, data.Size());
}

} // namespace Util
