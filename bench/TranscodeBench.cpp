// Text from one charset into another, beside the system's iconv. A name is <operation>/<text>/<who>.

#include "zeb/text/Transcoder.h"

#include <benchmark/benchmark.h>
#include <iconv.h>
#include <random>
#include <string>

namespace {

using Charset::Transcoder;

struct PairT {
    char const* operation;
    Charset::TypeT from, to;
    char const *fromName, *toName;
};

constexpr PairT PAIRS[] = {
    {"utf8_utf16", Charset::UTF_8, Charset::UTF_16LE, "UTF-8", "UTF-16LE"},
    {"utf16_utf8", Charset::UTF_16LE, Charset::UTF_8, "UTF-16LE", "UTF-8"},
    {"utf8_utf32", Charset::UTF_8, Charset::UTF_32LE, "UTF-8", "UTF-32LE"},
};

struct TextT {
    char const* name;
    uint32_t first, count; // of the letters
    bool isMixed;          // three letters in four are ASCII
};

constexpr TextT TEXTS[] = {{"ascii", 0x20, 0x5F, false},
                           {"latin", 0xC0, 0x40, true},
                           {"cyrillic", 0x410, 0x40, false},
                           {"chinese", 0x4E00, 0x2000, false}};

// 4096 letters in the charset.
std::string Make(TextT const& text, char const* charset) {
    std::mt19937 random(4);
    std::u32string letters;
    for (unsigned i = 0; i < 4096; ++i)
        letters +=
            text.isMixed && random() % 4 != 0 ? 'a' + random() % 26 : text.first + random() % text.count;
    std::string out(letters.size() * 4, '\0');
    char *in = reinterpret_cast<char*>(letters.data()), *end = out.data();
    size_t inLeft = out.size(), outLeft = out.size();
    iconv_t const converter = iconv_open(charset, "UTF-32LE");
    iconv(converter, &in, &inLeft, &end, &outLeft);
    iconv_close(converter);
    out.resize(out.size() - outLeft);
    return out;
}

void Ours(benchmark::State& state, PairT const& pair, std::string const& text) {
    std::string out(text.size() * 4, '\0');
    Transcoder const transcoder(pair.from, pair.to, Transcoder::STRICT);
    for (auto _ : state) {
        char const* in = text.data();
        char* end = out.data();
        unsigned long size;
        if (transcoder.Encode(&in, text.size(), &end, out.size(), &size).Failed())
            state.SkipWithError("failed");
        benchmark::DoNotOptimize(size);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void System(benchmark::State& state, PairT const& pair, std::string text) {
    std::string out(text.size() * 4, '\0');
    iconv_t const converter = iconv_open(pair.toName, pair.fromName);
    for (auto _ : state) {
        char *in = text.data(), *end = out.data();
        size_t inLeft = text.size(), outLeft = out.size();
        benchmark::DoNotOptimize(iconv(converter, &in, &inLeft, &end, &outLeft));
    }
    iconv_close(converter);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

[[maybe_unused]] bool const added = [] {
    for (PairT const& pair : PAIRS) {
        for (TextT const& text : TEXTS) {
            std::string const name = std::string(pair.operation) + "/" + text.name + "/";
            std::string const input = Make(text, pair.fromName);
            benchmark::RegisterBenchmark((name + "ours").c_str(), [pair, input](benchmark::State& state) {
                Ours(state, pair, input);
            });
            benchmark::RegisterBenchmark((name + "iconv").c_str(), [pair, input](benchmark::State& state) {
                System(state, pair, input);
            });
        }
    }
    return true;
}();

} // namespace
