#pragma once

// Which integer types hold a number: looked up by the length of the number in bits. Internal to the library.

#include "zeb/doc/json/Value.h"

#include <bit>

namespace Json {

struct NumberFlags_ {
    // By the bit length of the number; for a negative v by that of ~v, that is of -v - 1.
    uint16_t natural[65];
    uint16_t negative[65];

    constexpr NumberFlags_()
        : natural()
        , negative() {
        constexpr unsigned TYPE_BITS[] = {8, 16, 32, 64, 64};
        for (unsigned length = 0; length <= 64; ++length) {
            unsigned signedFlag = Value::NUMBER_CHAR;
            for (unsigned bits : TYPE_BITS) {
                if (length < bits) natural[length] |= signedFlag, negative[length] |= signedFlag;
                if (length <= bits) natural[length] |= signedFlag << 1;
                signedFlag <<= 2;
            }
        }
    }

    unsigned long Of(unsigned long long value) const { return natural[std::bit_width(value)]; }
    unsigned long OfNegative(long long value) const {
        return negative[std::bit_width(~static_cast<unsigned long long>(value))];
    }
};

inline constexpr NumberFlags_ NUMBER_FLAGS;

static_assert(NUMBER_FLAGS.natural[7] == 1023 && NUMBER_FLAGS.natural[8] == 1022);
static_assert(NUMBER_FLAGS.natural[63] == 960 && NUMBER_FLAGS.natural[64] == 640);
static_assert(NUMBER_FLAGS.negative[7] == 341 && NUMBER_FLAGS.negative[63] == 320);

} // namespace Json
