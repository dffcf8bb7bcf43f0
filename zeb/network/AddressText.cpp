#include "zeb/network/AddressText.h"

#include "zeb/core/Digits.h"
#include "zeb/core/HexString.h"

#include <cstring>

namespace Network {

namespace {

constexpr int OCTETS = 4;
constexpr int WORDS = 8;
constexpr int BYTES = 16;

unsigned Digit_(char const* p, char const* end) {
    return p == end ? 10 : static_cast<unsigned char>(*p) - unsigned{'0'};
}

// One number of a dotted quad: up to three digits, without leading zeros. Null if there is none.
char const* ScanOctet_(char const* p, char const* end, uint8_t& octet) {
    unsigned value = Digit_(p, end);
    if (value > 9) return nullptr;
    unsigned digit = Digit_(++p, end);
    if (digit <= 9) {
        if (value == 0) return nullptr;
        value = value * 10 + digit;
        digit = Digit_(++p, end);
        if (digit <= 9) {
            value = value * 10 + digit;
            if (value > 255 || Digit_(++p, end) <= 9) return nullptr;
        }
    }
    octet = static_cast<uint8_t>(value);
    return p;
}

bool ScanQuad_(char const* p, char const* end, uint8_t* out) {
    for (int i = 0; i < OCTETS; ++i) {
        if (i != 0 && (p == end || *p++ != '.')) return false;
        p = ScanOctet_(p, end, out[i]);
        if (!p) return false;
    }
    return p == end || *p == '\0';
}

// The groups of a text, between colons, with the place of "::" among them.
class Groups_ {
public:
    bool Scan(char const* p, char const* end) {
        if (p == end || (*p == ':' && (++p == end || *p != ':'))) return false;
        while (p != end) {
            if (*p == ':') {
                if (gap_ >= 0) return false;
                gap_ = used_;
                ++p;
                continue;
            }
            p = ScanGroup_(p, end);
            if (!p) return false;
        }
        return gap_ < 0 ? used_ == BYTES : used_ < BYTES;
    }

    void Store(in6_addr& out) const {
        int const tail = gap_ < 0 ? 0 : used_ - gap_;
        memset(&out, 0, sizeof(out));
        memcpy(out.s6_addr, bytes_, static_cast<unsigned long>(used_ - tail));
        memcpy(out.s6_addr + BYTES - tail, bytes_ + used_ - tail, static_cast<unsigned long>(tail));
    }

private:
    // One group with the colon behind it, or a dotted quad at the end.
    char const* ScanGroup_(char const* p, char const* end) {
        char const* const start = p;
        unsigned value = 0;
        for (; p != end && p - start <= 4; ++p) {
            unsigned char const digit = HexString::CHAR_DIGIT_MAP[static_cast<unsigned char>(*p)];
            if (digit == HexString::NO_DIGIT) break;
            value = value << 4 | digit;
        }
        if (p != end && *p == '.' && p - start <= 3 && used_ <= BYTES - OCTETS) {
            if (!ScanQuad_(start, end, bytes_ + used_)) return nullptr;
            used_ += OCTETS;
            return end;
        }
        if (p == start || p - start > 4 || used_ == BYTES) return nullptr;
        bytes_[used_++] = static_cast<uint8_t>(value >> 8);
        bytes_[used_++] = static_cast<uint8_t>(value);
        if (p == end) return end;
        return *p == ':' && p + 1 != end ? p + 1 : nullptr;
    }

    uint8_t bytes_[BYTES];
    int used_ = 0;
    int gap_ = -1;
};

struct Run_ {
    int start = -1;
    int count = 1; // a single zero group is written out
};

// The longest run of zero groups, the first of equals.
Run_ LongestRun_(uint16_t const* words) {
    Run_ longest;
    for (int i = 0; i < WORDS;) {
        int const start = i;
        while (i < WORDS && words[i] == 0)
            ++i;
        if (i - start > longest.count) longest = {start, i - start};
        if (i == start) ++i;
    }
    return longest;
}

// The digits of each octet. Three are copied, whatever the size, as the room is there.
struct OctetT_ {
    char digits[3];
    uint8_t size;
};

struct OctetTextsT_ {
    OctetT_ of[256];
};

constexpr OctetTextsT_ MakeOctetTexts_() {
    OctetTextsT_ texts{};
    for (unsigned value = 0; value < 256; ++value) {
        OctetT_& text = texts.of[value];
        for (unsigned divisor = value > 99 ? 100 : value > 9 ? 10 : 1; divisor != 0; divisor /= 10)
            text.digits[text.size++] = static_cast<char>('0' + value / divisor % 10);
    }
    return texts;
}

constexpr OctetTextsT_ OCTET_TEXTS = MakeOctetTexts_();

} // namespace

bool ScanIp4(char const* text, unsigned long size, in_addr& out) {
    uint8_t octets[OCTETS];
    if (!ScanQuad_(text, text + size, octets)) return false;
    memcpy(&out, octets, sizeof(out));
    return true;
}

bool ScanIp6(char const* text, unsigned long size, in6_addr& out) {
    Groups_ groups;
    if (!groups.Scan(text, text + strnlen(text, size))) return false;
    groups.Store(out);
    return true;
}

char* PrintIp4(char* out, in_addr const& address) {
    uint8_t octets[OCTETS];
    memcpy(octets, &address, sizeof(octets));
    for (int i = 0; i < OCTETS - 1; ++i) {
        OctetT_ const& text = OCTET_TEXTS.of[octets[i]];
        memcpy(out, text.digits, sizeof(text.digits));
        out += text.size;
        *out++ = '.';
    }
    OctetT_ const& last = OCTET_TEXTS.of[octets[OCTETS - 1]];
    memcpy(out, last.digits, sizeof(last.digits));
    return out + last.size;
}

char* PrintIp6(char* out, in6_addr const& address) {
    uint16_t words[WORDS];
    for (int i = 0; i < WORDS; ++i)
        words[i] = static_cast<uint16_t>(address.s6_addr[2 * i] << 8 | address.s6_addr[2 * i + 1]);
    Run_ const run = LongestRun_(words);
    bool const mapped = run.start == 0 && (run.count == 6 || (run.count == 5 && words[5] == 0xFFFF));
    for (int i = 0; i < WORDS; ++i) {
        if (i == run.start) {
            *out++ = ':';
            i += run.count - 1;
            if (i == WORDS - 1) *out++ = ':';
            continue;
        }
        if (i != 0) *out++ = ':';
        if (i == WORDS - 2 && mapped) {
            in_addr last;
            memcpy(&last, address.s6_addr + BYTES - OCTETS, sizeof(last));
            return PrintIp4(out, last);
        }
        out = Digits::PrintHex(out, words[i]);
    }
    return out;
}

} // namespace Network
