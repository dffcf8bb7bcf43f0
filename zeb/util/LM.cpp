#include "zeb/util/LM.h"

#include "zeb/core/CString.h"
#include "zeb/util/HexDigitsImpl.h"

#include <cctype>
#include <cstdint>

namespace Util {

namespace {

constexpr uint64_t MAGIC = 0x4B47532140232425; // "KGS!@#$%"

// DES. Bits are counted from 1, the highest one of the word; a table names for each bit of the result the bit
// that it is.
constexpr unsigned char INITIAL[64] = {58, 50, 42, 34, 26, 18, 10, 2, 60, 52, 44, 36, 28, 20, 12, 4,
                                       62, 54, 46, 38, 30, 22, 14, 6, 64, 56, 48, 40, 32, 24, 16, 8,
                                       57, 49, 41, 33, 25, 17, 9,  1, 59, 51, 43, 35, 27, 19, 11, 3,
                                       61, 53, 45, 37, 29, 21, 13, 5, 63, 55, 47, 39, 31, 23, 15, 7};
constexpr unsigned char FINAL[64] = {40, 8, 48, 16, 56, 24, 64, 32, 39, 7, 47, 15, 55, 23, 63, 31,
                                     38, 6, 46, 14, 54, 22, 62, 30, 37, 5, 45, 13, 53, 21, 61, 29,
                                     36, 4, 44, 12, 52, 20, 60, 28, 35, 3, 43, 11, 51, 19, 59, 27,
                                     34, 2, 42, 10, 50, 18, 58, 26, 33, 1, 41, 9,  49, 17, 57, 25};
constexpr unsigned char EXPANSION[48] = {32, 1,  2,  3,  4,  5,  4,  5,  6,  7,  8,  9,  8,  9,  10, 11,
                                         12, 13, 12, 13, 14, 15, 16, 17, 16, 17, 18, 19, 20, 21, 20, 21,
                                         22, 23, 24, 25, 24, 25, 26, 27, 28, 29, 28, 29, 30, 31, 32, 1};
constexpr unsigned char PERMUTATION[32] = {16, 7, 20, 21, 29, 12, 28, 17, 1,  15, 23, 26, 5,  18, 31, 10,
                                           2,  8, 24, 14, 32, 27, 3,  9,  19, 13, 30, 6,  22, 11, 4,  25};
// The choice of 56 bits out of a key of 64, for a key of 56: parity bits are not there.
constexpr unsigned char KEY_CHOICE[56] = {50, 43, 36, 29, 22, 15, 8,  1,  51, 44, 37, 30, 23, 16,
                                          9,  2,  52, 45, 38, 31, 24, 17, 10, 3,  53, 46, 39, 32,
                                          56, 49, 42, 35, 28, 21, 14, 7,  55, 48, 41, 34, 27, 20,
                                          13, 6,  54, 47, 40, 33, 26, 19, 12, 5,  25, 18, 11, 4};
constexpr unsigned char ROUND_CHOICE[48] = {14, 17, 11, 24, 1,  5,  3,  28, 15, 6,  21, 10, 23, 19, 12, 4,
                                            26, 8,  16, 7,  27, 20, 13, 2,  41, 52, 31, 37, 47, 55, 30, 40,
                                            51, 45, 33, 48, 44, 49, 39, 56, 34, 53, 46, 42, 50, 36, 29, 32};
constexpr unsigned char SHIFTS[16] = {1, 1, 2, 2, 2, 2, 2, 2, 1, 2, 2, 2, 2, 2, 2, 1};
// Four rows of 16 digits each: the outer two bits choose the row of a box, the inner four the digit.
constexpr uint64_t BOXES[8][4] = {
    {0xE4D12FB83A6C5907, 0x0F74E2D1A6CB9538, 0x41E8D62BFC973A50, 0xFC8249175B3EA06D},
    {0xF18E6B34972DC05A, 0x3D47F28EC01A69B5, 0x0E7BA4D158C6932F, 0xD8A13F42B67C05E9},
    {0xA09E63F51DC7B428, 0xD709346A285ECBF1, 0xD6498F30B12C5AE7, 0x1AD069874FE3B52C},
    {0x7DE3069A1285BC4F, 0xD8B56F03472C1AE9, 0xA690CB7DF13E5284, 0x3F06A1D8945BC72E},
    {0x2C417AB6853FD0E9, 0xEB2C47D150FA3986, 0x421BAD78F9C5630E, 0xB8C71E2D6F09A453},
    {0xC1AF92680D34E75B, 0xAF427C9561DE0B38, 0x9EF528C3704A1DB6, 0x432C95FABE17608D},
    {0x4B2EF08D3C975A61, 0xD0B7491AE35C2F86, 0x14BDC37EAF680592, 0x6BD814A7950FE23C},
    {0xD2846FB1A93E50C7, 0x1FD8A374C56B0E92, 0x7B419CE206ADF358, 0x21E74A8DFC90356B},
};

template<unsigned long COUNT>
uint64_t Pick_(uint64_t word, unsigned size, unsigned char const (&table)[COUNT]) {
    uint64_t out = 0;
    for (unsigned char const bit : table)
        out = out << 1 | (word >> (size - bit) & 1);
    return out;
}

uint32_t Turned_(uint32_t half, unsigned count) { return (half << count | half >> (28 - count)) & 0xFFFFFFF; }

// What a round makes of one half of the block.
uint64_t Mix_(uint64_t half, uint64_t key) {
    uint64_t const word = Pick_(half, 32, EXPANSION) ^ key;
    uint64_t out = 0;
    for (unsigned i = 0; i < 8; ++i) {
        uint64_t const six = word >> (42 - 6 * i) & 0x3F;
        uint64_t const row = (six >> 4 & 2) | (six & 1);
        out = out << 4 | (BOXES[i][row] >> (60 - 4 * (six >> 1 & 0xF)) & 0xF);
    }
    return Pick_(out, 32, PERMUTATION);
}

// Of a block, by a key of 56 bits.
uint64_t Encrypt_(uint64_t block, uint64_t key) {
    uint64_t const chosen = Pick_(key, 56, KEY_CHOICE);
    uint32_t first = static_cast<uint32_t>(chosen >> 28), second = chosen & 0xFFFFFFF;
    block = Pick_(block, 64, INITIAL);
    uint64_t left = block >> 32, right = block & 0xFFFFFFFF;
    for (unsigned char const shift : SHIFTS) {
        first = Turned_(first, shift);
        second = Turned_(second, shift);
        uint64_t const next = left ^ Mix_(right, Pick_(uint64_t{first} << 28 | second, 56, ROUND_CHOICE));
        left = right;
        right = next;
    }
    return Pick_(right << 32 | left, 64, FINAL);
}

} // namespace

bool LM::Digest(CString const& password, unsigned char* out) {
    constexpr unsigned long HALF = PASSWORD_MAX / 2;
    if (password.Size() > PASSWORD_MAX) return false;
    for (unsigned long half = 0; half < 2; ++half) {
        uint64_t key = 0;
        for (unsigned long i = half * HALF; i < (half + 1) * HALF; ++i) {
            int const c = i < password.Size() ? toupper(static_cast<unsigned char>(password[i])) : 0;
            key = key << 8 | static_cast<unsigned char>(c);
        }
        uint64_t const block = Encrypt_(MAGIC, key);
        for (unsigned long i = 0; i < 8; ++i)
            *out++ = static_cast<unsigned char>(block >> (56 - 8 * i));
    }
    return true;
}

bool LM::TextDigest(CString const& password, char* out) {
    unsigned char digest[DIGEST_SIZE];
    if (!Digest(password, digest)) return false;
    HexDigits(out, digest, sizeof digest);
    return true;
}

} // namespace Util
