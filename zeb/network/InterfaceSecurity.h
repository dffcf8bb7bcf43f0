#pragma once

// How an interface protects its traffic, and how it shows who it is.

#include <cstdint>

namespace Network::Interface::Secure {

// The strength of the ciphers.
enum SecurityLevelT : uint32_t { WEAK = 0, NORMAL = 1, STRONG = 2 };

} // namespace Network::Interface::Secure

namespace Network::Interface::Supplicant {

enum AuthT : uint32_t { NONE = 0, MD5 = 1, PEAP = 2, TTLS = 3, TLS = 4 };

} // namespace Network::Interface::Supplicant
