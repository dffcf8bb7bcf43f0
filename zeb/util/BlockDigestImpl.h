#pragma once

// The members of BlockDigest, for the sources that make one of them; and words of blocks.

#include "zeb/util/BlockDigest.h"
#include "zeb/util/HexDigitsImpl.h"

#include <bit>
#include <cstring>
#include <utility>

namespace Util {

template<std::endian ORDER, class WordT>
WordT InOrder(WordT word) {
    if constexpr (ORDER == std::endian::native)
        return word;
    else if constexpr (sizeof(WordT) == 8)
        return __builtin_bswap64(word);
    else
        return __builtin_bswap32(word);
}

template<std::endian ORDER, class WordT, unsigned long COUNT>
void LoadWords(WordT (&words)[COUNT], unsigned char const* from) {
    memcpy(words, from, sizeof words);
    for (WordT& word : words)
        word = InOrder<ORDER>(word);
}

// Calls step(std::integral_constant<unsigned, i>) for i from 0 to COUNT - 1, all in line.
template<unsigned COUNT, class StepT>
[[gnu::always_inline]] inline void Unrolled(StepT const& step) {
    [&]<unsigned... I>(std::integer_sequence<unsigned, I...>) __attribute__((always_inline)) {
        (step(std::integral_constant<unsigned, I>()), ...);
    }
    (std::make_integer_sequence<unsigned, COUNT>());
}

template<class RulesT>
void BlockDigest<RulesT>::Reset() {
    memcpy(state_, RulesT::START, sizeof state_);
    size_ = 0;
}

template<class RulesT>
void BlockDigest<RulesT>::Update(void const* data, unsigned long size) {
    if (size == 0) return;
    auto const* in = static_cast<unsigned char const*>(data);
    unsigned long const kept = size_ % BLOCK_SIZE;
    size_ += size;
    if (kept != 0) {
        unsigned long const room = BLOCK_SIZE - kept;
        unsigned long const count = size < room ? size : room;
        memcpy(block_ + kept, in, count);
        if (count < room) return;
        RulesT::Absorb(state_, block_, 1);
        in += count;
        size -= count;
    }
    RulesT::Absorb(state_, in, size / BLOCK_SIZE);
    memcpy(block_, in + size / BLOCK_SIZE * BLOCK_SIZE, size % BLOCK_SIZE);
}

// The padding is one bit, zeros, and the length in bits at the end of a block.
template<class RulesT>
void BlockDigest<RulesT>::Digest(unsigned char* out) const {
    BlockDigest last = *this;
    unsigned long used = size_ % BLOCK_SIZE;
    last.block_[used++] = 0x80;
    if (used + RulesT::LENGTH_SIZE > BLOCK_SIZE) {
        memset(last.block_ + used, 0, BLOCK_SIZE - used);
        RulesT::Absorb(last.state_, last.block_, 1);
        used = 0;
    }
    memset(last.block_ + used, 0, BLOCK_SIZE - used);
    uint64_t const bits = InOrder<RulesT::ORDER>(uint64_t{size_ * 8});
    memcpy(last.block_ + BLOCK_SIZE - sizeof bits, &bits, sizeof bits);
    RulesT::Absorb(last.state_, last.block_, 1);
    for (auto& word : last.state_)
        word = InOrder<RulesT::ORDER>(word);
    memcpy(out, last.state_, sizeof last.state_);
}

template<class RulesT>
void BlockDigest<RulesT>::TextDigest(char* out) const {
    unsigned char digest[DIGEST_SIZE];
    Digest(digest);
    HexDigits(out, digest, sizeof digest);
}

} // namespace Util
