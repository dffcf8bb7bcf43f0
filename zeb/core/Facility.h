#pragma once

// Who owns which facility of the return codes. The numbers within a facility are its owner's.

#include <cstdint>

namespace Facility {

inline constexpr uint32_t PROCESS = 8;
inline constexpr uint32_t MUTEX = 9;
inline constexpr uint32_t ENVIRONMENT = 28;
inline constexpr uint32_t FEEDBACK_LISTENER = 30;
inline constexpr uint32_t THREAD = 34;
inline constexpr uint32_t IO_SCGI_REQUEST = 41;
inline constexpr uint32_t TASK = 48;
inline constexpr uint32_t IO_POLLABLE = 50;
inline constexpr uint32_t FILE_SYSTEM_DIRECTORY = 52;
inline constexpr uint32_t XML = 55;
inline constexpr uint32_t JSON = 56;
inline constexpr uint32_t UTIL_MATCHER = 57;
inline constexpr uint32_t IO_UDP_SOCKET = 89;
inline constexpr uint32_t CHARSET_TRANSCODER = 90;
inline constexpr uint32_t IO_PACKET_SOCKET = 91;
inline constexpr uint32_t IO_IP6_ICMP_SOCKET = 92;
inline constexpr uint32_t IO_NETLINK = 95;
inline constexpr uint32_t ARRAY_MAP = 128;
inline constexpr uint32_t DNS_RESOLVER = 201;
inline constexpr uint32_t IO_HTTP_CHUNK = 232;
inline constexpr uint32_t TIME_STAMP = 251;
inline constexpr uint32_t STATS_RRD_DB = 995;
inline constexpr uint32_t IO_TCP_SOCKET = 1000;
inline constexpr uint32_t IO_HTTP_CLIENT = 1024;
inline constexpr uint32_t IO_HTTP_REQUEST = 1025;
inline constexpr uint32_t IO_HTTP_RESPONSE = 1026;
inline constexpr uint32_t IO_HTTP_HEADER_PARSER = 1027;
inline constexpr uint32_t IO_HTTP_MULTIPART = 1028;
inline constexpr uint32_t UTIL_SPKI = 1250;
inline constexpr uint32_t SSL_EC_PUBLIC_KEY = 2100;
inline constexpr uint32_t SSL_EC_PRIVATE_KEY = 2101;

// Owned by no class; the low 16 bits carry a source line.
inline constexpr uint32_t FAIL = 4093;
inline constexpr uint32_t OOM = 4094;
inline constexpr uint32_t DONE = 4095;

} // namespace Facility
