#pragma once

// Who owns which facility of the return codes: number, name, and the classes that give codes of it. The
// numbers within a facility are its owner's.

#include <cstdint>

// clang-format off
#define ZEB_FACILITIES(X) \
    X(8, PROCESS, "Process") \
    X(9, MUTEX, "Mutex") \
    X(28, ENVIRONMENT, "Environment") \
    X(30, FEEDBACK_LISTENER, "FeedbackListener") \
    X(34, THREAD, "Thread") \
    X(41, IO_SCGI_REQUEST, "Io::Scgi::Request") \
    X(48, TASK, "Task") \
    X(50, IO_POLLABLE, "Io::Pollable") \
    X(52, FILE_SYSTEM_DIRECTORY, "FileSystem::Directory") \
    X(55, XML, "Xml") \
    X(56, JSON, "Json") \
    X(57, UTIL_MATCHER, "Util::Matcher") \
    X(89, IO_UDP_SOCKET, "Io::UdpSocket, Io::Ip6::UdpSocket") \
    X(90, CHARSET_TRANSCODER, "Charset::Transcoder") \
    X(91, IO_PACKET_SOCKET, "Io::PacketSocket") \
    X(92, IO_IP6_ICMP_SOCKET, "Io::Ip6::IcmpSocket") \
    X(95, IO_NETLINK, "Io::Netlink") \
    X(128, ARRAY_MAP, "ArrayMap") \
    X(201, DNS_RESOLVER, "Dns::Resolver") \
    X(232, IO_HTTP_CHUNK, "Io::Http::Chunk") \
    X(251, TIME_STAMP, "Time::Stamp") \
    X(995, STATS_RRD_DB, "Stats::Rrd::Db") \
    X(1000, IO_TCP_SOCKET, "Io::TcpSocket, Io::TcpSocketBase") \
    X(1024, IO_HTTP_CLIENT, "Io::Http::Client") \
    X(1025, IO_HTTP_REQUEST, "Io::Http::Request") \
    X(1026, IO_HTTP_RESPONSE, "Io::Http::Response") \
    X(1027, IO_HTTP_HEADER_PARSER, "Io::Http::Header::Parser") \
    X(1028, IO_HTTP_MULTIPART, "Io::Http::Multipart") \
    X(1250, UTIL_SPKI, "Util::Spki") \
    X(2100, SSL_EC_PUBLIC_KEY, "Ssl::Ec::PublicKey") \
    X(2101, SSL_EC_PRIVATE_KEY, "Ssl::Ec::PrivateKey")
// clang-format on

namespace Facility {

#define ZEB_FACILITY_CONSTANT(number, name, owner) inline constexpr uint32_t name = number;
ZEB_FACILITIES(ZEB_FACILITY_CONSTANT)
#undef ZEB_FACILITY_CONSTANT

// Owned by no class; the low 16 bits carry a source line.
inline constexpr uint32_t FAIL = 4093;
inline constexpr uint32_t OOM = 4094;
inline constexpr uint32_t DONE = 4095;

} // namespace Facility
