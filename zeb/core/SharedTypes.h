#pragma once

// Enumerations that several subsystems and the client programs share. All are 32 bits wide.

#include <cstdint>

// Whether an object writes lines for debugging.
enum DebugT : uint32_t { DEBUG_OFF = 0, DEBUG_ON = 1 };

// Whether the administrator wants the interface up.
enum IfUpT : uint32_t { IF_DOWN = 0, IF_UP = 1 };

// The link of an interface.
enum LinkT : uint32_t { LINK_DOWN = 0, LINK_UP = 1 };

// Whether an interface has an address of the family.
enum Conn4T : uint32_t { CONN4_DOWN = 0, CONN4_UP = 1 };
enum Conn6T : uint32_t { CONN6_DOWN = 0, CONN6_UP = 1 };

// Whether the device restarts when the work is done.
enum RebootT : uint32_t { REBOOT_NO = 0, REBOOT_YES = 1 };

// How far the network behind an interface is trusted. A new interface is public.
enum SecurityLevelT : uint32_t { SECURITY_PRIVATE = 0, SECURITY_PUBLIC = 1, SECURITY_PROTECTED = 2 };
