// Addresses as text, read and printed, each beside what a program would otherwise use. A name is
// <operation>/<who>.

#include "zeb/core/CString.h"
#include "zeb/network/Ip6Address.h"
#include "zeb/network/IpAddress.h"
#include "zeb/network/MacAddress.h"

#include <arpa/inet.h>
#include <array>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#ifdef ZEB_PEER_FMT
#include <fmt/compile.h>
#include <fmt/format.h>
#endif

namespace {

template<class T>
struct Values {
    std::vector<T> values;
    std::vector<std::string> texts;
};

using MacT = std::array<unsigned char, 6>;

template<class T, class F>
Values<T> const& Make(F const& fill) {
    static Values<T> const made = [&fill] {
        std::mt19937 random(6);
        Values<T> result;
        for (unsigned i = 0; i < 512; ++i) {
            T value{};
            char text[64];
            fill(random, value, text);
            result.values.push_back(value);
            result.texts.emplace_back(text);
        }
        return result;
    }();
    return made;
}

Values<in_addr> const& Ip4() {
    return Make<in_addr>([](auto& random, in_addr& value, char* text) {
        value.s_addr = static_cast<in_addr_t>(random());
        inet_ntop(AF_INET, &value, text, 64);
    });
}

// A network's first words, some zero ones, and an interface's last ones; one in four has no zeros.
Values<in6_addr> const& Ip6() {
    return Make<in6_addr>([](auto& random, in6_addr& value, char* text) {
        unsigned const zeros = random() % 4 * 2;
        for (unsigned i = 0; i < 16; ++i)
            value.s6_addr[i] = static_cast<uint8_t>(i >= 6 && i < 6 + zeros ? 0 : random());
        inet_ntop(AF_INET6, &value, text, 64);
    });
}

Values<MacT> const& Macs() {
    return Make<MacT>([](auto& random, MacT& value, char* text) {
        for (unsigned char& byte : value)
            byte = static_cast<unsigned char>(random());
        snprintf(text, 64, "%02x:%02x:%02x:%02x:%02x:%02x", value[0], value[1], value[2], value[3], value[4],
                 value[5]);
    });
}

template<class T, class F>
void EachText(benchmark::State& state, Values<T> const& values, F const& parse) {
    for (auto _ : state) {
        for (std::string const& text : values.texts)
            benchmark::DoNotOptimize(parse(text));
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * values.texts.size()));
}

template<class T, class F>
void EachValue(benchmark::State& state, Values<T> const& values, F const& print) {
    char text[64];
    for (auto _ : state) {
        for (T const& value : values.values) {
            benchmark::DoNotOptimize(print(text, value));
            benchmark::ClobberMemory();
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * values.values.size()));
}

template<class F>
void Add(char const* name, F const& function) {
    benchmark::RegisterBenchmark(name, function);
}

void AddIp4() {
    Add("ip4_parse/ours", [](benchmark::State& state) {
        EachText(state, Ip4(), [](std::string const& text) {
            Network::IpAddress address;
            (void)address.Assign(CString(text.data(), text.size()));
            return address.Value();
        });
    });
    Add("ip4_parse/inet_pton", [](benchmark::State& state) {
        EachText(state, Ip4(), [](std::string const& text) {
            in_addr address;
            inet_pton(AF_INET, text.c_str(), &address);
            return address.s_addr;
        });
    });
    Add("ip4_print/ours", [](benchmark::State& state) {
        EachValue(state, Ip4(), [](char*, in_addr const& address) {
            Network::IpAddress::Str const text{Network::IpAddress(address)};
            benchmark::DoNotOptimize(text.Cstr());
            return text.Size();
        });
    });
    Add("ip4_print/inet_ntop", [](benchmark::State& state) {
        EachValue(state, Ip4(),
                  [](char* out, in_addr const& address) { return inet_ntop(AF_INET, &address, out, 64); });
    });
#ifdef ZEB_PEER_FMT
    Add("ip4_print/fmt", [](benchmark::State& state) {
        EachValue(state, Ip4(), [](char* out, in_addr const& address) {
            unsigned char bytes[4];
            memcpy(bytes, &address, sizeof bytes);
            return fmt::format_to(out, FMT_COMPILE("{}.{}.{}.{}"), bytes[0], bytes[1], bytes[2], bytes[3]);
        });
    });
#endif
}

void AddIp6() {
    Add("ip6_parse/ours", [](benchmark::State& state) {
        EachText(state, Ip6(), [](std::string const& text) {
            in6_addr address;
            (void)Network::Ip6::Sscan6(text.data(), text.size(), &address);
            return address.s6_addr32[3];
        });
    });
    Add("ip6_parse/inet_pton", [](benchmark::State& state) {
        EachText(state, Ip6(), [](std::string const& text) {
            in6_addr address;
            inet_pton(AF_INET6, text.c_str(), &address);
            return address.s6_addr32[3];
        });
    });
    Add("ip6_print/ours", [](benchmark::State& state) {
        EachValue(state, Ip6(),
                  [](char* out, in6_addr const& address) { return Network::Ip6::Sprint6(out, &address); });
    });
    Add("ip6_print/inet_ntop", [](benchmark::State& state) {
        EachValue(state, Ip6(),
                  [](char* out, in6_addr const& address) { return inet_ntop(AF_INET6, &address, out, 64); });
    });
}

void AddMac() {
    Add("mac_parse/ours", [](benchmark::State& state) {
        EachText(state, Macs(), [](std::string const& text) {
            Network::MacAddress address;
            (void)address.Assign(CString(text.data(), text.size()));
            return address[5];
        });
    });
    Add("mac_parse/sscanf", [](benchmark::State& state) {
        EachText(state, Macs(), [](std::string const& text) {
            MacT mac;
            sscanf(text.c_str(), "%2hhx:%2hhx:%2hhx:%2hhx:%2hhx:%2hhx", &mac[0], &mac[1], &mac[2], &mac[3],
                   &mac[4], &mac[5]);
            return mac[5];
        });
    });
    Add("mac_print/ours", [](benchmark::State& state) {
        EachValue(state, Macs(), [](char*, MacT const& mac) {
            Network::MacAddress::Str const text{Network::MacAddress(mac.data())};
            benchmark::DoNotOptimize(text.Cstr());
            return text.Size();
        });
    });
    Add("mac_print/snprintf", [](benchmark::State& state) {
        EachValue(state, Macs(), [](char* out, MacT const& mac) {
            return snprintf(out, 64, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4],
                            mac[5]);
        });
    });
#ifdef ZEB_PEER_FMT
    Add("mac_print/fmt", [](benchmark::State& state) {
        EachValue(state, Macs(), [](char* out, MacT const& mac) {
            return fmt::format_to(out, FMT_COMPILE("{:02x}:{:02x}:{:02x}:{:02x}:{:02x}:{:02x}"), mac[0],
                                  mac[1], mac[2], mac[3], mac[4], mac[5]);
        });
    });
#endif
}

[[maybe_unused]] bool const added = (AddIp4(), AddIp6(), AddMac(), true);

} // namespace
