#include "zeb/util/Whirlpool.h"

#include "zeb/util/BlockDigestImpl.h"

namespace Util {

namespace {

constexpr unsigned ROUNDS = 10;
constexpr unsigned POLYNOMIAL = 0x11D;

struct Tables_ {
    unsigned char box[256] = {};
    uint64_t rows[8][256] = {}; // substitution and diffusion of one byte of a row, by its place in the row
    uint64_t constants[ROUNDS] = {};

    constexpr Tables_() {
        constexpr unsigned char FACTORS[8] = {1, 1, 4, 1, 8, 5, 2, 9};
        FillBox();
        for (unsigned x = 0; x < 256; ++x) {
            for (unsigned char const factor : FACTORS)
                rows[0][x] = rows[0][x] << 8 | Product(box[x], factor);
            for (unsigned i = 1; i < 8; ++i)
                rows[i][x] = std::rotr(rows[0][x], static_cast<int>(8 * i));
        }
        for (unsigned i = 0; i < ROUNDS * 8; ++i)
            constants[i / 8] = constants[i / 8] << 8 | box[i];
    }

    // The box is made of three small ones: E, its inverse, and R.
    constexpr void FillBox() {
        constexpr unsigned char E[16] = {1, 11, 9, 12, 13, 6, 15, 3, 14, 8, 7, 4, 10, 2, 5, 0};
        constexpr unsigned char R[16] = {7, 12, 11, 13, 14, 4, 9, 15, 6, 3, 8, 10, 2, 5, 1, 0};
        unsigned char inverse[16] = {};
        for (unsigned char i = 0; i < 16; ++i)
            inverse[E[i]] = i;
        for (unsigned x = 0; x < 256; ++x) {
            unsigned const high = E[x >> 4], low = inverse[x & 0xF], both = R[high ^ low];
            box[x] = static_cast<unsigned char>(E[high ^ both] << 4 | inverse[low ^ both]);
        }
    }

    static constexpr unsigned Product(unsigned x, unsigned factor) {
        unsigned product = 0;
        for (; factor != 0; factor >>= 1, x = x << 1 ^ (x >> 7) * POLYNOMIAL)
            product ^= (factor & 1) * x;
        return product;
    }
};

constexpr Tables_ TABLES;

// Left to itself the compiler goes by sums rather than by words, and shifts each word anew for each byte of
// it: it has to have the value here.
inline void Settle_(uint64_t& value) { asm("" : "+r"(value)); }

// One round but for the addition of a key.
void Mix_(uint64_t (&rows)[8]) {
    uint64_t sums[8] = {};
    Unrolled<8>([&](auto row) __attribute__((always_inline)) {
        uint64_t word = rows[row];
        Unrolled<4>([&](auto step) __attribute__((always_inline)) {
            constexpr unsigned PLACE = 7 - 2 * step;
            uint64_t& lower = sums[(row + PLACE) % 8];
            uint64_t& upper = sums[(row + PLACE - 1) % 8];
            lower ^= TABLES.rows[PLACE][word & 0xFF];
            upper ^= TABLES.rows[PLACE - 1][word >> 8 & 0xFF];
            word >>= 16;
            Settle_(lower);
            Settle_(upper);
            Settle_(word);
        });
    });
    memcpy(rows, sums, sizeof rows);
}

} // namespace

uint64_t const WhirlpoolRules::START[WORDS] = {};

void WhirlpoolRules::Absorb(uint64_t (&state)[WORDS], unsigned char const* blocks, unsigned long count) {
    for (; count != 0; --count, blocks += 64) {
        uint64_t block[8], key[8], text[8];
        LoadWords<ORDER>(block, blocks);
        memcpy(key, state, sizeof key);
        for (unsigned i = 0; i < 8; ++i)
            text[i] = block[i] ^ key[i];
        for (uint64_t const constant : TABLES.constants) {
            Mix_(key);
            key[0] ^= constant;
            Mix_(text);
            for (unsigned i = 0; i < 8; ++i)
                text[i] ^= key[i];
        }
        for (unsigned i = 0; i < 8; ++i)
            state[i] ^= text[i] ^ block[i];
    }
}

template class BlockDigest<WhirlpoolRules>;

} // namespace Util
