// URIs taken apart, and percent-encoding, each beside what a program would otherwise use. A name is
// <operation>/<who>; those of the operation uri_scan copy nothing.

#include "zeb/text/Matcher.h"
#include "zeb/text/Regex.h"
#include "zeb/text/URI.h"
#include "zeb/text/UriScanImpl.h"

#include <benchmark/benchmark.h>
#include <cstring>
#include <random>
#include <regex.h>
#include <string>

#ifdef ZEB_PEER_URIPARSER
#include <uriparser/Uri.h>
#endif

#ifdef ZEB_PEER_CURL
#include <curl/curl.h>
#endif

#ifdef ZEB_PEER_GLIB
#include <glib.h>
#endif

#ifdef ZEB_PEER_POCO
#include <Poco/URI.h>
#endif

#ifdef ZEB_PEER_PCRE2
#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>
#endif

namespace {

using Util::URI;

std::string const URIS[] = {
    "http://192.168.1.1/",
    "https://admin:secret@[fe80::1]:8443/rci/show/interface?name=Home#status",
    "https://www.example.com/firmware/stable/4.2/arm64/image-4.2.1-3.bin",
    "https://example.com/search?q=percent%20encoding&lang=en&page=2&order=asc",
    "ftp://user@files.example.org:2121/pub/a/b/c/d/e/f.txt",
    "urn:example:animal:ferret:nose",
    "mailto:someone@example.com",
    "http://update.example.net:8080/api/v1/devices/0123456789abcdef/state?full=true",
};

constexpr char PATTERN[] = "^(([^:/?#]+):)?(//([^/?#]*))?([^?#]*)(\\?([^#]*))?(#(.*))?";

template<class F>
void Each(benchmark::State& state, F const& parse) {
    for (auto _ : state) {
        for (std::string const& text : URIS)
            parse(text);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * std::size(URIS)));
}

// One byte in ten is escaped.
std::string const& Encoded() {
    static std::string const text = [] {
        std::mt19937 random(3);
        std::string result;
        while (result.size() < 4096)
            result += random() % 10 == 0 ? "%C3" : std::string(1, static_cast<char>('a' + random() % 26));
        return result;
    }();
    return text;
}

std::string const& Plain() {
    static std::string const text = [] {
        std::string result(4096, 'x');
        for (std::size_t i = 0; i < result.size(); i += 10)
            result[i] = ' ';
        return result;
    }();
    return text;
}

template<class F>
void Code(benchmark::State& state, std::string const& text, F const& code) {
    for (auto _ : state)
        code(text);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

CString View(std::string const& text) { return {text.data(), text.size()}; }

template<class F>
void Add(char const* name, F const& function) {
    benchmark::RegisterBenchmark(name, function);
}

void AddOurs() {
    Add("uri_parse/ours", [](benchmark::State& state) {
        Each(state, [](std::string const& text) {
            URI uri;
            bool valid = false;
            benchmark::DoNotOptimize(uri.Parse(View(text), valid));
            benchmark::DoNotOptimize(uri.Path().Cstr());
        });
    });
    Add("uri_scan/ours", [](benchmark::State& state) {
        Each(state, [](std::string const& text) {
            Util::UriParts parts;
            benchmark::DoNotOptimize(Util::ScanUri(View(text), parts));
            benchmark::DoNotOptimize(parts.path.Size());
        });
    });
    Add("percent_decode/ours", [](benchmark::State& state) {
        Code(state, Encoded(), [](std::string const& text) {
            String out;
            bool valid = false;
            benchmark::DoNotOptimize(URI::Decode(URI::ENCODE_URI, View(text), out, valid));
            benchmark::DoNotOptimize(out.Cstr());
        });
    });
    Add("percent_encode/ours", [](benchmark::State& state) {
        Code(state, Plain(), [](std::string const& text) {
            String out;
            benchmark::DoNotOptimize(URI::Encode(URI::ENCODE_URI, View(text), out));
            benchmark::DoNotOptimize(out.Cstr());
        });
    });
    Add("regex_client/ours", [](benchmark::State& state) {
        Util::Regex const regex(PATTERN, REG_EXTENDED);
        Each(state, [&regex](std::string const& text) {
            Util::Matcher matcher(View(text));
            benchmark::DoNotOptimize(matcher.Find(regex, 0).Code());
        });
    });
    Add("regex_test/ours", [](benchmark::State& state) {
        Util::Regex const regex(PATTERN, REG_EXTENDED | REG_NOSUB);
        Each(state, [&regex](std::string const& text) {
            Util::Matcher matcher(View(text));
            benchmark::DoNotOptimize(matcher.Find(regex, 0).Code());
        });
    });
}

void AddRegexec() {
    static regex_t regex;
    if (regcomp(&regex, PATTERN, REG_EXTENDED) != 0) return;
    auto const run = [](benchmark::State& state) {
        Each(state, [](std::string const& text) {
            regmatch_t groups[10];
            benchmark::DoNotOptimize(regexec(&regex, text.c_str(), 10, groups, 0));
        });
    };
    for (char const* name :
         {"uri_parse/regexec", "uri_scan/regexec", "regex_client/regexec", "regex_test/regexec"})
        Add(name, run);
#ifdef ZEB_PEER_PCRE2
    static int error;
    static PCRE2_SIZE offset;
    static pcre2_code* const code = pcre2_compile(
        reinterpret_cast<PCRE2_SPTR>(PATTERN), PCRE2_ZERO_TERMINATED, PCRE2_DOTALL, &error, &offset, nullptr);
    pcre2_jit_compile(code, PCRE2_JIT_COMPLETE);
    Add("uri_scan/pcre2jit", [](benchmark::State& state) {
        pcre2_match_data* const data = pcre2_match_data_create_from_pattern(code, nullptr);
        Each(state, [data](std::string const& text) {
            benchmark::DoNotOptimize(pcre2_jit_match(code, reinterpret_cast<PCRE2_SPTR>(text.data()),
                                                     text.size(), 0, 0, data, nullptr));
        });
        pcre2_match_data_free(data);
    });
#endif
}

void AddPeers() {
#ifdef ZEB_PEER_URIPARSER
    auto const uriparser = [](benchmark::State& state) {
        Each(state, [](std::string const& text) {
            UriUriA uri;
            char const* bad;
            benchmark::DoNotOptimize(
                uriParseSingleUriExA(&uri, text.data(), text.data() + text.size(), &bad));
            uriFreeUriMembersA(&uri);
        });
    };
    Add("uri_parse/uriparser", uriparser);
    Add("uri_scan/uriparser", uriparser);
#endif
#ifdef ZEB_PEER_CURL
    Add("uri_parse/curl", [](benchmark::State& state) {
        Each(state, [](std::string const& text) {
            CURLU* const url = curl_url();
            benchmark::DoNotOptimize(
                curl_url_set(url, CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME));
            curl_url_cleanup(url);
        });
    });
    Add("percent_decode/curl", [](benchmark::State& state) {
        Code(state, Encoded(), [](std::string const& text) {
            int size = 0;
            char* const out = curl_easy_unescape(nullptr, text.data(), static_cast<int>(text.size()), &size);
            benchmark::DoNotOptimize(out);
            curl_free(out);
        });
    });
    Add("percent_encode/curl", [](benchmark::State& state) {
        Code(state, Plain(), [](std::string const& text) {
            char* const out = curl_easy_escape(nullptr, text.data(), static_cast<int>(text.size()));
            benchmark::DoNotOptimize(out);
            curl_free(out);
        });
    });
#endif
#ifdef ZEB_PEER_GLIB
    Add("uri_parse/glib", [](benchmark::State& state) {
        Each(state, [](std::string const& text) {
            GUri* const uri = g_uri_parse(text.c_str(), G_URI_FLAGS_ENCODED, nullptr);
            benchmark::DoNotOptimize(uri);
            if (uri) g_uri_unref(uri);
        });
    });
    Add("percent_decode/glib", [](benchmark::State& state) {
        Code(state, Encoded(), [](std::string const& text) {
            char* const out = g_uri_unescape_string(text.c_str(), nullptr);
            benchmark::DoNotOptimize(out);
            g_free(out);
        });
    });
    Add("percent_encode/glib", [](benchmark::State& state) {
        Code(state, Plain(), [](std::string const& text) {
            char* const out = g_uri_escape_string(text.c_str(), nullptr, FALSE);
            benchmark::DoNotOptimize(out);
            g_free(out);
        });
    });
#endif
#ifdef ZEB_PEER_POCO
    Add("uri_parse/poco", [](benchmark::State& state) {
        Each(state, [](std::string const& text) {
            Poco::URI const uri(text);
            benchmark::DoNotOptimize(uri.getPath().data());
        });
    });
    Add("percent_decode/poco", [](benchmark::State& state) {
        Code(state, Encoded(), [](std::string const& text) {
            std::string out;
            Poco::URI::decode(text, out);
            benchmark::DoNotOptimize(out.data());
        });
    });
#endif
}

// A match of a walk, by how many the text holds.
void WalkGrowth(benchmark::State& state) {
    Util::Regex const regex("([a-z]+)=([0-9]+)", REG_EXTENDED);
    std::string text;
    for (long i = 0; i < state.range(0); ++i)
        text += "name=12345 ";
    for (auto _ : state) {
        Util::Matcher matcher(View(text));
        while (matcher.Find(regex, 0).Succeeded())
            continue;
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(WalkGrowth)->Name("Regex.Walk/Growth")->Arg(16)->Arg(256)->Arg(4096)->Arg(32768);

[[maybe_unused]] bool const added = (AddOurs(), AddRegexec(), AddPeers(), true);

} // namespace
