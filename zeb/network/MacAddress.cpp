#include "zeb/network/MacAddress.h"

#include "zeb/core/HexString.h"

namespace Network {

namespace {

constexpr unsigned long TEXT_SIZE = 3 * MacAddress::SIZE - 1;
constexpr unsigned char ONES[MacAddress::SIZE] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

unsigned char Digit_(char c) { return HexString::CHAR_DIGIT_MAP[static_cast<unsigned char>(c)]; }

} // namespace

MacAddress::MacAddress(unsigned char const* bytes)
    : MacAddress() {
    memcpy(Bytes_(), bytes, SIZE);
}

MacAddress::MacAddress(char const* bytes)
    : MacAddress(reinterpret_cast<unsigned char const*>(bytes)) {}

bool MacAddress::Assign(CString const& text) {
    if (text.Size() != TEXT_SIZE) return false;
    unsigned char bytes[SIZE];
    for (unsigned long i = 0; i < SIZE; ++i) {
        char const* const pair = text.Cstr() + 3 * i;
        unsigned char const high = Digit_(pair[0]);
        unsigned char const low = Digit_(pair[1]);
        if (high == HexString::NO_DIGIT || low == HexString::NO_DIGIT) return false;
        if (i + 1 < SIZE && pair[2] != ':') return false;
        bytes[i] = static_cast<unsigned char>(high << 4 | low);
    }
    *this = MacAddress(bytes);
    return true;
}

bool MacAddress::Assign(sockaddr const& address) {
    if (address.sa_family != FAMILY) return false;
    *this = MacAddress(address.sa_data);
    return true;
}

void MacAddress::Clear() {
    memset(&address_, 0, sizeof(address_));
    address_.sa_family = FAMILY;
}

MacAddress const& MacAddress::Zero() {
    static MacAddress const zero;
    return zero;
}

MacAddress const& MacAddress::Broadcast() {
    static MacAddress const broadcast(ONES);
    return broadcast;
}

void MacAddress::SetLocal(bool local) {
    unsigned char& first = Bytes_()[0];
    first = static_cast<unsigned char>(local ? first | LOCAL_BIT : first & ~LOCAL_BIT);
}

void MacAddress::Increment(unsigned long count) {
    unsigned char* const last = Bytes_() + 3;
    unsigned long const sum = (static_cast<unsigned long>(last[0]) << 16 | last[1] << 8 | last[2]) + count;
    last[0] = static_cast<unsigned char>(sum >> 16);
    last[1] = static_cast<unsigned char>(sum >> 8);
    last[2] = static_cast<unsigned char>(sum);
}

void MacAddress::Decrement(unsigned long count) { Increment(0 - count); }

MacAddress::Str::Str(MacAddress const& address) {
    char* out = text_;
    for (unsigned long i = 0; i < SIZE; ++i) {
        if (i != 0) *out++ = ':';
        *out++ = HexString::LOWER_DIGITS[address[i] >> 4];
        *out++ = HexString::LOWER_DIGITS[address[i] & 0xF];
    }
    End_(out);
}

} // namespace Network
