#pragma once

// Network::IpAddress: an IPv4 address. A plain value, copied freely; no operation allocates or locks.
// Comparison and arithmetic go by the number that the address is in host order.

#include "zeb/core/Export.h"
#include "zeb/network/AddressStr.h"

#include <bit>
#include <cstdint>
#include <netinet/in.h>

namespace Network {

class ZEB_PUBLIC IpAddress {
public:
    class Str;

    constexpr IpAddress() = default;
    constexpr IpAddress(in_addr const& address)
        : address_(address) {}
    // In host order.
    constexpr IpAddress(unsigned int value)
        : address_{Swap_(value)} {}

    // A dotted quad of decimal numbers without leading zeros. On false the old value stays.
    [[nodiscard]] bool Assign(CString const& text);

    constexpr unsigned int Value() const { return Swap_(address_.s_addr); }
    void SetValue(unsigned int value) { address_.s_addr = Swap_(value); }
    in_addr const& Inaddr() const { return address_; }
    void Clear() { address_.s_addr = 0; }

    static IpAddress const& Zero();
    static IpAddress const& Loopback();

    constexpr bool operator==(IpAddress const& other) const { return Value() == other.Value(); }
    constexpr bool operator<(IpAddress const& other) const { return Value() < other.Value(); }
    constexpr bool operator<=(IpAddress const& other) const { return Value() <= other.Value(); }
    constexpr bool operator>(IpAddress const& other) const { return Value() > other.Value(); }
    constexpr bool operator>=(IpAddress const& other) const { return Value() >= other.Value(); }

    // The distance, negative when the other address is the higher one.
    long operator-(IpAddress const& other) const { return long{Value()} - long{other.Value()}; }
    IpAddress operator+(unsigned long count) const { return static_cast<unsigned int>(Value() + count); }
    IpAddress operator-(unsigned long count) const { return static_cast<unsigned int>(Value() - count); }
    IpAddress& operator+=(unsigned long count) { return *this = *this + count; }
    IpAddress& operator-=(unsigned long count) { return *this = *this - count; }
    IpAddress& operator++() { return *this += 1; }
    IpAddress& operator--() { return *this -= 1; }
    IpAddress operator++(int) {
        IpAddress const old = *this;
        ++*this;
        return old;
    }
    IpAddress operator--(int) {
        IpAddress const old = *this;
        --*this;
        return old;
    }
    IpAddress operator&(IpAddress const& other) const { return Value() & other.Value(); }
    IpAddress operator|(IpAddress const& other) const { return Value() | other.Value(); }
    IpAddress& operator&=(IpAddress const& other) { return *this = *this & other; }
    IpAddress& operator|=(IpAddress const& other) { return *this = *this | other; }

    bool IsZero() const { return address_.s_addr == 0; }
    bool IsMulticast() const { return In_(0xE0000000, 4); }
    bool IsLinkLocal() const { return In_(0xA9FE0000, 16); }
    bool IsLoopback() const { return In_(0x7F000000, 8); }
    bool IsReserved() const { return In_(0xF0000000, 4); }
    bool IsPrivate() const { return In_(0x0A000000, 8) || In_(0xAC100000, 12) || In_(0xC0A80000, 16); }

    // The leading bits of the stored word read as a number of the host: on a little-endian processor those of
    // the last octet of the address.
    bool IsClassA() const { return address_.s_addr >> 31 == 0; }
    bool IsClassB() const { return address_.s_addr >> 30 == 2; }
    bool IsClassC() const { return address_.s_addr >> 29 == 6; }
    bool IsClassD() const { return address_.s_addr >> 28 == 14; }
    bool IsClassE() const { return address_.s_addr >> 28 == 15; }

    // Into a buffer of INET_ADDRSTRLEN bytes; the result is the length.
    static unsigned long Print(char* buffer, in_addr const* address);

private:
    // Between the order of the host and that of the network, as htonl does.
    static constexpr uint32_t Swap_(uint32_t value) {
        return std::endian::native == std::endian::little ? __builtin_bswap32(value) : value;
    }
    bool In_(unsigned int network, unsigned int length) const {
        return (Value() ^ network) >> (32 - length) == 0;
    }

    in_addr address_{};
};

// The dotted quad.
class ZEB_PUBLIC IpAddress::Str : public AddressStr<INET_ADDRSTRLEN> {
public:
    explicit Str(IpAddress const& address);
};

} // namespace Network
