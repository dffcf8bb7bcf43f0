// Numbers, the string builder and the codecs, each beside what a program would otherwise use.
// A name is <operation>/<who>.

#include "zeb/core/Base64.h"
#include "zeb/core/Buffer.h"
#include "zeb/core/HexString.h"
#include "zeb/core/Integer.h"
#include "zeb/core/StringAccumulator.h"
#include "zeb/core/StringVector.h"

#include <benchmark/benchmark.h>
#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <openssl/evp.h>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#ifdef ZEB_PEER_FMT
#include <fmt/compile.h>
#include <fmt/format.h>
#endif

#ifdef ZEB_PEER_ABSEIL
#include <absl/strings/escaping.h>
#include <absl/strings/numbers.h>
#include <absl/strings/str_cat.h>
#include <absl/strings/str_split.h>
#endif

#ifdef ZEB_PEER_GLIB
#include <glib.h>
#endif

namespace {

// Every length of number is as likely as any other.
std::vector<uint64_t> const& Numbers() {
    static std::vector<uint64_t> const numbers = [] {
        std::mt19937_64 random(1);
        std::vector<uint64_t> result(1024);
        for (uint64_t& number : result)
            number = random() >> (random() % 64);
        return result;
    }();
    return numbers;
}

std::vector<std::string> const& Texts(int base) {
    static auto const make = [](int radix) {
        std::vector<std::string> result;
        for (uint64_t number : Numbers()) {
            char text[24];
            result.emplace_back(text, std::to_chars(text, text + sizeof text, number, radix).ptr);
        }
        return result;
    };
    static std::vector<std::string> const decimal = make(10), hex = make(16);
    return base == 10 ? decimal : hex;
}

std::string const& Bytes() {
    static std::string const bytes = [] {
        std::mt19937 random(2);
        std::string result(3072, ' ');
        for (char& c : result)
            c = static_cast<char>(random());
        return result;
    }();
    return bytes;
}

template<class F>
void EachNumber(benchmark::State& state, F const& print) {
    char text[64];
    for (auto _ : state) {
        for (uint64_t number : Numbers()) {
            benchmark::DoNotOptimize(print(text, number));
            benchmark::ClobberMemory();
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * Numbers().size()));
}

template<class F>
void EachText(benchmark::State& state, int base, F const& parse) {
    for (auto _ : state) {
        for (std::string const& text : Texts(base))
            benchmark::DoNotOptimize(parse(text));
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * Numbers().size()));
}

template<class F>
void Codec(benchmark::State& state, unsigned long size, F const& code) {
    for (auto _ : state) {
        code();
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
}

template<class F>
void Add(char const* name, F const& function) {
    benchmark::RegisterBenchmark(name, function);
}

void AddPrinting() {
    Add("print_decimal/ours", [](benchmark::State& state) {
        EachNumber(state, [](char* out, uint64_t number) { return Digits::PrintDecimal(out, number); });
    });
    Add("print_decimal/to_chars", [](benchmark::State& state) {
        EachNumber(state,
                   [](char* out, uint64_t number) { return std::to_chars(out, out + 64, number).ptr; });
    });
    Add("print_decimal/snprintf", [](benchmark::State& state) {
        EachNumber(state, [](char* out, uint64_t number) { return snprintf(out, 64, "%" PRIu64, number); });
    });
    Add("print_hex/ours", [](benchmark::State& state) {
        EachNumber(state, [](char* out, uint64_t number) { return Digits::PrintHex(out, number); });
    });
    Add("print_hex/to_chars", [](benchmark::State& state) {
        EachNumber(state,
                   [](char* out, uint64_t number) { return std::to_chars(out, out + 64, number, 16).ptr; });
    });
    Add("print_hex/snprintf", [](benchmark::State& state) {
        EachNumber(state, [](char* out, uint64_t number) { return snprintf(out, 64, "%" PRIx64, number); });
    });
#ifdef ZEB_PEER_FMT
    Add("print_decimal/fmt", [](benchmark::State& state) {
        EachNumber(state,
                   [](char* out, uint64_t number) { return fmt::format_to(out, FMT_COMPILE("{}"), number); });
    });
    Add("print_hex/fmt", [](benchmark::State& state) {
        EachNumber(state, [](char* out, uint64_t number) {
            return fmt::format_to(out, FMT_COMPILE("{:x}"), number);
        });
    });
#endif
#ifdef ZEB_PEER_ABSEIL
    Add("print_decimal/abseil", [](benchmark::State& state) {
        EachNumber(state, [](char* out, uint64_t number) {
            return absl::numbers_internal::FastIntToBuffer(number, out);
        });
    });
#endif
}

void AddParsing() {
    Add("parse_decimal/ours", [](benchmark::State& state) {
        EachText(state, 10, [](std::string const& text) {
            unsigned long value = 0;
            benchmark::DoNotOptimize(Integer::Parse(text.data(), text.size(), value));
            return value;
        });
    });
    Add("parse_decimal/from_chars", [](benchmark::State& state) {
        EachText(state, 10, [](std::string const& text) {
            uint64_t value = 0;
            std::from_chars(text.data(), text.data() + text.size(), value);
            return value;
        });
    });
    Add("parse_decimal/strtoul", [](benchmark::State& state) {
        EachText(state, 10, [](std::string const& text) { return strtoul(text.c_str(), nullptr, 10); });
    });
    Add("parse_hex/ours", [](benchmark::State& state) {
        EachText(state, 16, [](std::string const& text) {
            unsigned long value = 0;
            benchmark::DoNotOptimize(Integer::Parse(text.data(), text.size(), value, Integer::PARSE_HEX));
            return value;
        });
    });
    Add("parse_hex/from_chars", [](benchmark::State& state) {
        EachText(state, 16, [](std::string const& text) {
            uint64_t value = 0;
            std::from_chars(text.data(), text.data() + text.size(), value, 16);
            return value;
        });
    });
#ifdef ZEB_PEER_ABSEIL
    Add("parse_decimal/abseil", [](benchmark::State& state) {
        EachText(state, 10, [](std::string const& text) {
            uint64_t value = 0;
            benchmark::DoNotOptimize(absl::SimpleAtoi(text, &value));
            return value;
        });
    });
#endif
}

// A line such as a status page is made of: ten pieces, half of them numbers.
constexpr char INTERFACE[] = "eth0";
unsigned port = 8080;
unsigned long received = 1234567890, sent = 98765;
int error = -11;

template<class F>
void Line(benchmark::State& state, F const& make) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(port);
        make();
    }
}

void AddBuilding() {
    Add("status_line/ours", [](benchmark::State& state) {
        Line(state, [] {
            StringAccumulator text;
            text << "if " << INTERFACE << " port " << port << " rx " << received << " tx " << sent
                 << " error " << error;
            benchmark::DoNotOptimize(text.Cstr());
        });
    });
    Add("status_line/snprintf", [](benchmark::State& state) {
        Line(state, [] {
            char text[128];
            snprintf(text, sizeof text, "if %s port %u rx %lu tx %lu error %i", INTERFACE, port, received,
                     sent, error);
            benchmark::DoNotOptimize(text);
        });
    });
    Add("status_line/ostringstream", [](benchmark::State& state) {
        Line(state, [] {
            std::ostringstream text;
            text << "if " << INTERFACE << " port " << port << " rx " << received << " tx " << sent
                 << " error " << error;
            benchmark::DoNotOptimize(text.str());
        });
    });
#ifdef ZEB_PEER_FMT
    Add("status_line/fmt", [](benchmark::State& state) {
        Line(state, [] {
            benchmark::DoNotOptimize(
                fmt::format("if {} port {} rx {} tx {} error {}", INTERFACE, port, received, sent, error));
        });
    });
#endif
#ifdef ZEB_PEER_ABSEIL
    Add("status_line/abseil", [](benchmark::State& state) {
        Line(state, [] {
            benchmark::DoNotOptimize(absl::StrCat("if ", INTERFACE, " port ", port, " rx ", received, " tx ",
                                                  sent, " error ", error));
        });
    });
#endif
}

constexpr char FIELDS[] = "alpha,beta,gamma,delta,epsilon,zeta,eta,theta";

void AddSplitting() {
    Add("split_8/ours", [](benchmark::State& state) {
        for (auto _ : state) {
            StringVector fields;
            benchmark::DoNotOptimize(CString(FIELDS).Split(fields, ','));
        }
    });
#ifdef ZEB_PEER_ABSEIL
    Add("split_8/abseil", [](benchmark::State& state) {
        for (auto _ : state) {
            std::vector<std::string> fields = absl::StrSplit(FIELDS, ',');
            benchmark::DoNotOptimize(fields);
        }
    });
#endif
#ifdef ZEB_PEER_GLIB
    Add("split_8/glib", [](benchmark::State& state) {
        for (auto _ : state) {
            char** const fields = g_strsplit(FIELDS, ",", -1);
            benchmark::DoNotOptimize(fields);
            g_strfreev(fields);
        }
    });
#endif
}

void AddCodecs() {
    static unsigned char out[8192];
    static std::string const bytes = Bytes();
    static auto const* const data = reinterpret_cast<unsigned char const*>(bytes.data());
    static String base64;
    static HexString hex;
    if (Base64::EncodeToString(CBuffer(data, bytes.size()), base64, Base64::STANDARD).Failed()) abort();
    if (!hex.Assign(data, bytes.size())) abort();

    Add("base64_encode/ours", [](benchmark::State& state) {
        Codec(state, bytes.size(), [] {
            benchmark::DoNotOptimize(
                Base64::EncodeToString(CBuffer(data, bytes.size()), out, sizeof out, Base64::STANDARD)
                    .Code());
        });
    });
    Add("base64_encode/openssl", [](benchmark::State& state) {
        Codec(state, bytes.size(), [] { EVP_EncodeBlock(out, data, static_cast<int>(bytes.size())); });
    });
    Add("base64_decode/ours", [](benchmark::State& state) {
        Codec(state, base64.Size(), [] {
            unsigned long size = sizeof out;
            benchmark::DoNotOptimize(Base64::DecodeString(base64, out, size, Base64::STANDARD).Code());
        });
    });
    Add("base64_decode/openssl", [](benchmark::State& state) {
        Codec(state, base64.Size(), [] {
            EVP_DecodeBlock(out, reinterpret_cast<unsigned char const*>(base64.Cstr()),
                            static_cast<int>(base64.Size()));
        });
    });
    Add("hex_encode/ours", [](benchmark::State& state) {
        Codec(state, bytes.size(), [] {
            HexString text;
            benchmark::DoNotOptimize(text.Assign(data, bytes.size()));
        });
    });
    Add("hex_decode/ours", [](benchmark::State& state) {
        Codec(state, hex.Size(), [] {
            unsigned long size;
            benchmark::DoNotOptimize(hex.Get(out, sizeof out, size));
        });
    });
#ifdef ZEB_PEER_ABSEIL
    static std::string const plain = bytes, hexText = hex.Cstr(), base64Text = base64.Cstr();
    Add("base64_encode/abseil", [](benchmark::State& state) {
        Codec(state, bytes.size(), [] { benchmark::DoNotOptimize(absl::Base64Escape(plain)); });
    });
    Add("base64_decode/abseil", [](benchmark::State& state) {
        Codec(state, base64.Size(), [] {
            std::string text;
            benchmark::DoNotOptimize(absl::Base64Unescape(base64Text, &text));
        });
    });
    Add("hex_encode/abseil", [](benchmark::State& state) {
        Codec(state, bytes.size(), [] { benchmark::DoNotOptimize(absl::BytesToHexString(plain)); });
    });
    Add("hex_decode/abseil", [](benchmark::State& state) {
        Codec(state, hex.Size(), [] { benchmark::DoNotOptimize(absl::HexStringToBytes(hexText)); });
    });
#endif
}

[[maybe_unused]] bool const added =
    (AddPrinting(), AddParsing(), AddBuilding(), AddSplitting(), AddCodecs(), true);

} // namespace
