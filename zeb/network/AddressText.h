#pragma once

// Text forms of addresses, scanned and printed without the C library, which is several times slower. They
// accept, refuse and print what inet_pton and inet_ntop do. Internal; nothing here allocates.

#include <cstdint>
#include <netinet/in.h>

namespace Network {

// Both scanners read to the end of the range or to its first NUL. On false `out` stays as it was.
bool ScanIp4(char const* text, unsigned long size, in_addr& out);
bool ScanIp6(char const* text, unsigned long size, in6_addr& out);

// Write without a terminator and return the end: at most 15 and 45 bytes.
char* PrintIp4(char* out, in_addr const& address);
char* PrintIp6(char* out, in6_addr const& address);

} // namespace Network
