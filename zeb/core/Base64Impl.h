#pragma once

// Blocks of base64, for the forms over memory and over streams.

#include "zeb/core/Base64.h"

#include <cstdint>

namespace Base64Impl {

inline constexpr unsigned long BLOCK_BYTES = 3;
inline constexpr unsigned long BLOCK_SYMBOLS = 4;

// What a character means, where it is no symbol's value from 0 to 63.
inline constexpr unsigned char SKIPPED = 0x80; // inside the span of the alphabet
inline constexpr unsigned char OUTSIDE = 0xC0; // allowed if it is white space
inline constexpr unsigned char NO_SYMBOL = 0x80;

struct TablesT {
    char pairs[4096][2];      // the two symbols of 12 bits
    unsigned char value[256]; // of each character

    constexpr explicit TablesT(char const* last, char first)
        : pairs()
        , value() {
        char alphabet[64] = {};
        for (int i = 0; i < 26; ++i) {
            alphabet[i] = static_cast<char>('A' + i);
            alphabet[26 + i] = static_cast<char>('a' + i);
        }
        for (int i = 0; i < 10; ++i)
            alphabet[52 + i] = static_cast<char>('0' + i);
        alphabet[62] = last[0];
        alphabet[63] = last[1];
        for (int i = 0; i < 4096; ++i) {
            pairs[i][0] = alphabet[i >> 6];
            pairs[i][1] = alphabet[i & 63];
        }
        for (int c = 0; c < 256; ++c)
            value[c] = c >= first && c <= 'z' ? SKIPPED : OUTSIDE;
        for (unsigned char i = 0; i < 64; ++i)
            value[static_cast<unsigned char>(alphabet[i])] = i;
    }
};

// By Base64::FormatT.
extern TablesT const TABLES[2];

// A block of 1 to 3 bytes at the end of the data. Returns the number of symbols written, at most 4.
unsigned long EncodeLast(char* out, unsigned char const* in, unsigned long count, Base64::FormatT format);

// All of the data, without a terminator. Returns the end of the text.
char* Encode(char* out, unsigned char const* in, unsigned long size, Base64::FormatT format);

inline void EncodeBlock(char* out, unsigned char const* in, TablesT const& tables) {
    uint32_t const bits = static_cast<uint32_t>(in[0] << 16 | in[1] << 8 | in[2]);
    __builtin_memcpy(out, tables.pairs[bits >> 12], 2);
    __builtin_memcpy(out + 2, tables.pairs[bits & 0xFFF], 2);
}

// Gathers symbols, one character at a time.
class Gatherer {
public:
    enum ResultT : int { MORE, BLOCK, FORBIDDEN };

    explicit Gatherer(Base64::FormatT format)
        : value_(TABLES[format].value) {}

    // BLOCK: the three bytes of a block are in Bytes().
    ResultT Put(char c);

    // At the end of the text: the 0 to 2 bytes of a short block, in Bytes(). False if one symbol is left
    // over.
    bool Finish(unsigned long& count);

    bool Empty() const { return count_ == 0; }
    unsigned char const* Bytes() const { return bytes_; }

private:
    void Store_();

    unsigned char const* const value_;
    uint32_t bits_ = 0;
    unsigned count_ = 0;
    unsigned char bytes_[BLOCK_BYTES];
};

} // namespace Base64Impl
