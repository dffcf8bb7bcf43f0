#pragma once

// What a port is allocated for.

#include <cstdint>

namespace Network::PortAllocator {

enum FamilyT : uint32_t { FAMILY_IP = 0, FAMILY_IP6 = 1, FAMILY_ANY = 2 };
enum ProtocolT : uint32_t { PROTOCOL_TCP = 0, PROTOCOL_UDP = 1 };

} // namespace Network::PortAllocator
