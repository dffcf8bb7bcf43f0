#pragma once

// Network::MacAddress: a hardware address of six bytes, kept as the kernel takes it, in a sockaddr with the
// family of Ethernet. A plain value.

#include "zeb/core/Export.h"
#include "zeb/network/AddressStr.h"

#include <sys/socket.h>

namespace Network {

class ZEB_PUBLIC MacAddress {
public:
    class Str;

    static constexpr unsigned long SIZE = 6;
    static constexpr unsigned short FAMILY = 1; // ARPHRD_ETHER

    MacAddress() { Clear(); }
    // Of six raw bytes. Those of characters are asked for by name: a text is never taken for them.
    explicit MacAddress(char const* bytes);
    MacAddress(unsigned char const* bytes);

    // Seventeen characters, pairs of hexadecimal digits of either case between colons. On false the address
    // stays as it was.
    [[nodiscard]] bool Assign(CString const& text);
    // Of that family only.
    [[nodiscard]] bool Assign(sockaddr const& address);

    bool operator==(MacAddress const& other) const { return Compare_(other) == 0; }
    bool operator<(MacAddress const& other) const { return Compare_(other) < 0; }
    bool operator>(MacAddress const& other) const { return Compare_(other) > 0; }

    unsigned char operator[](unsigned long index) const { return Bytes()[index]; }
    unsigned char& operator[](unsigned long index) { return Bytes_()[index]; }
    unsigned char const* Bytes() const { return reinterpret_cast<unsigned char const*>(address_.sa_data); }
    sockaddr const& SockAddr() const { return address_; }

    void Clear();
    static MacAddress const& Zero();
    static MacAddress const& Broadcast();

    bool IsZero() const { return *this == Zero(); }
    bool IsBroadcast() const { return *this == Broadcast(); }
    // The zero and the broadcast address are neither of the two.
    bool IsUnicast() const { return !IsZero() && !IsBroadcast() && !(Bytes()[0] & GROUP_BIT); }
    bool IsMulticast() const { return !IsZero() && !IsBroadcast() && (Bytes()[0] & GROUP_BIT); }
    // Locally administered; the broadcast address counts as that.
    bool IsLocal() const { return !IsZero() && !IsMulticast() && (Bytes()[0] & LOCAL_BIT); }
    void SetLocal(bool local);

    // Within the last three bytes: what is carried out of them is lost.
    void Increment(unsigned long count);
    void Decrement(unsigned long count);

private:
    static constexpr unsigned char GROUP_BIT = 1;
    static constexpr unsigned char LOCAL_BIT = 2;

    unsigned char* Bytes_() { return reinterpret_cast<unsigned char*>(address_.sa_data); }
    int Compare_(MacAddress const& other) const { return memcmp(Bytes(), other.Bytes(), SIZE); }

    sockaddr address_;
};

// Pairs of lower-case digits with colons.
class ZEB_PUBLIC MacAddress::Str : public AddressStr<3 * MacAddress::SIZE> {
public:
    explicit Str(MacAddress const& address);
};

} // namespace Network
