// Reading and writing of JSON beside its peers: whole documents (parse, print compact and wide), a small
// record (parse, read, print). Real documents are taken when a corpus is named, else those of JsonCorpus.h.

#include "bench/Corpus.h"
#include "bench/JsonCorpus.h"
#include "zeb/doc/json/Codes.h"
#include "zeb/doc/json/Document.h"
#include "zeb/stream/Base.h"
#include "zeb/stream/OStream.h"

#include <benchmark/benchmark.h>
#include <map>
#include <string>
#include <utility>
#include <vector>

#ifdef ZEB_PEER_RAPIDJSON
#ifdef __SSE2__
#define RAPIDJSON_SSE2
#elif defined(__aarch64__)
#define RAPIDJSON_NEON
#endif
#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#endif
#ifdef ZEB_PEER_NLOHMANN
#include <nlohmann/json.hpp>
#endif
#ifdef ZEB_PEER_CJSON
#include <cJSON.h>
#endif

namespace {

enum FormT { COMPACT, WIDE };

std::string const& Input(unsigned which) {
    static std::string const texts[] = {
        CorpusFile("twitter.json"),
        CorpusFile("citm_catalog.json"),
        CorpusFile("canada.json"),
    };
    static std::string const generated[] = {JsonCorpus::Messages(), JsonCorpus::Catalogue(),
                                            JsonCorpus::Outline(), JsonCorpus::Record()};
    return which < 3 && !texts[which].empty() ? texts[which] : generated[which];
}

void Count(benchmark::State& state, unsigned long bytes) {
    state.SetBytesProcessed(static_cast<long>(state.iterations() * bytes));
}

// A stream into one block of memory, which holds all of a document.
class MemoryStream : public Io::OStream {
public:
    explicit MemoryStream(std::vector<char>& block)
        : Io::OStream(buffer_, eol_)
        , base_(*this)
        , buffer_(base_, *this) {
        buffer_.Set(block.data(), block.size());
    }
    unsigned long Size() const { return buffer_.PCount(); }

private:
    class Base_ final : public Io::Base {
    public:
        using Io::Base::Base;
        bool SysRead(void*, unsigned long, unsigned long& done) override { return done = 0, false; }
        bool SysWrite(void const*, unsigned long, unsigned long& done) override { return done = 0, false; }
        bool SysFlush() override { return true; }
    };

    Base_ base_;
    Io::Buffer buffer_;
    Io::EndOfLineT eol_ = Io::EOL_LF;
};

// The heap of the peers keeps what a document gave back, and so do the pools of ours, unless they may not.
void ParseOursKeeping(benchmark::State& state, unsigned which, unsigned long kept) {
    PoolBase::KeepUpTo(kept);
    std::string const& text = Input(which);
    for (auto _ : state) {
        Json::Document document;
        if (document.Parse(CBuffer(text.data(), text.size()), Json::Document::PARSE_ANY) != Json::CODE_OK) {
            state.SkipWithError("refused");
        }
        benchmark::DoNotOptimize(document.Object());
    }
    PoolBase::KeepUpTo(PoolBase::KEPT_MAX);
    Count(state, text.size());
}

void ParseOurs(benchmark::State& state, unsigned which) {
    ParseOursKeeping(state, which, PoolBase::KEPT_MAX);
}
void ParseOursCold(benchmark::State& state, unsigned which) { ParseOursKeeping(state, which, 0); }

void PrintOurs(benchmark::State& state, unsigned which, FormT form) {
    std::string const& text = Input(which);
    Json::Document document;
    (void)document.Parse(CBuffer(text.data(), text.size()), Json::Document::PARSE_ANY);
    std::vector<char> block(4 * text.size() + 65536);
    unsigned long size = 0;
    for (auto _ : state) {
        MemoryStream stream(block);
        if (!document.Print(stream, form == COMPACT)) state.SkipWithError("failed");
        size = stream.Size();
    }
    Count(state, size);
}

void RecordOurs(benchmark::State& state) {
    std::string const& text = Input(3);
    std::vector<char> block(1024);
    for (auto _ : state) {
        Json::Document document;
        (void)document.Parse(CBuffer(text.data(), text.size()), Json::Document::PARSE_CONTAINER);
        unsigned short mtu = 0;
        CString name;
        document.Object()->Get("mtu", mtu);
        document.Object()->Get("name", name);
        benchmark::DoNotOptimize(mtu);
        benchmark::DoNotOptimize(name.Cstr());
        MemoryStream stream(block);
        document.Print(stream, true);
        benchmark::DoNotOptimize(stream.Size());
    }
}

#ifdef ZEB_PEER_RAPIDJSON
void ParseRapid(benchmark::State& state, unsigned which) {
    std::string const& text = Input(which);
    for (auto _ : state) {
        rapidjson::Document document;
        document.Parse(text.data(), text.size());
        benchmark::DoNotOptimize(document.HasParseError());
    }
    Count(state, text.size());
}

void ParseRapidInPlace(benchmark::State& state, unsigned which) {
    std::string const& text = Input(which);
    std::vector<char> copy(text.size() + 1);
    for (auto _ : state) {
        memcpy(copy.data(), text.c_str(), text.size() + 1);
        rapidjson::Document document;
        document.ParseInsitu(copy.data());
        benchmark::DoNotOptimize(document.HasParseError());
    }
    Count(state, text.size());
}

template<class Writer>
void PrintRapidBy(benchmark::State& state, unsigned which, void (*set)(Writer&)) {
    std::string const& text = Input(which);
    rapidjson::Document document;
    document.Parse(text.data(), text.size());
    rapidjson::StringBuffer buffer(nullptr, 4 * text.size() + 65536);
    for (auto _ : state) {
        buffer.Clear();
        Writer writer(buffer);
        set(writer);
        document.Accept(writer);
        benchmark::DoNotOptimize(buffer.GetSize());
    }
    Count(state, buffer.GetSize());
}

void PrintRapid(benchmark::State& state, unsigned which, FormT form) {
    using Compact = rapidjson::Writer<rapidjson::StringBuffer>;
    using Wide = rapidjson::PrettyWriter<rapidjson::StringBuffer>;
    if (form == COMPACT) return PrintRapidBy<Compact>(state, which, [](Compact&) {});
    PrintRapidBy<Wide>(state, which, [](Wide& writer) { writer.SetIndent(' ', 2); });
}

void RecordRapid(benchmark::State& state) {
    std::string const& text = Input(3);
    for (auto _ : state) {
        rapidjson::Document document;
        document.Parse(text.data(), text.size());
        benchmark::DoNotOptimize(document["mtu"].GetUint());
        benchmark::DoNotOptimize(document["name"].GetString());
        rapidjson::StringBuffer buffer;
        rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
        document.Accept(writer);
        benchmark::DoNotOptimize(buffer.GetSize());
    }
}
#endif

#ifdef ZEB_PEER_NLOHMANN
void ParseNlohmann(benchmark::State& state, unsigned which) {
    std::string const& text = Input(which);
    for (auto _ : state)
        benchmark::DoNotOptimize(nlohmann::json::parse(text, nullptr, false).size());
    Count(state, text.size());
}

void PrintNlohmann(benchmark::State& state, unsigned which, FormT form) {
    nlohmann::json const document = nlohmann::json::parse(Input(which), nullptr, false);
    unsigned long size = 0;
    for (auto _ : state)
        size = document.dump(form == COMPACT ? -1 : 2).size();
    Count(state, size);
}

void RecordNlohmann(benchmark::State& state) {
    for (auto _ : state) {
        nlohmann::json const document = nlohmann::json::parse(Input(3), nullptr, false);
        benchmark::DoNotOptimize(document["mtu"].get<unsigned short>());
        benchmark::DoNotOptimize(document["name"].get_ref<std::string const&>().size());
        benchmark::DoNotOptimize(document.dump().size());
    }
}
#endif

#ifdef ZEB_PEER_CJSON
void ParseCJson(benchmark::State& state, unsigned which) {
    std::string const& text = Input(which);
    for (auto _ : state)
        cJSON_Delete(cJSON_ParseWithLength(text.data(), text.size()));
    Count(state, text.size());
}

void PrintCJson(benchmark::State& state, unsigned which, FormT form) {
    std::string const& text = Input(which);
    cJSON* const document = cJSON_ParseWithLength(text.data(), text.size());
    for (auto _ : state)
        free(form == COMPACT ? cJSON_PrintUnformatted(document) : cJSON_Print(document));
    cJSON_Delete(document);
}
#endif

// What one more item costs in a container that fills up, and in a text of so many.
std::vector<std::string> const& Names(long count) {
    static std::map<long, std::vector<std::string>> names;
    std::vector<std::string>& list = names[count];
    for (long i = static_cast<long>(list.size()); i < count; ++i)
        list.push_back("client-" + std::to_string(i * 7919));
    return list;
}

void GrowObject(benchmark::State& state) {
    std::vector<std::string> const& names = Names(state.range(0));
    for (auto _ : state) {
        Json::Document document;
        for (std::string const& name : names)
            document.Object()->Append(CString(name.data(), name.size()), 1);
        if (!document.Valid()) state.SkipWithError("no memory");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void GrowArray(benchmark::State& state) {
    for (auto _ : state) {
        Json::Document document;
        document.InitArray();
        for (long i = 0; i < state.range(0); ++i)
            document.Array()->Append(i);
        if (!document.Valid()) state.SkipWithError("no memory");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void GrowText(benchmark::State& state) {
    std::string text = "{";
    for (std::string const& name : Names(state.range(0)))
        text += (text.size() > 1 ? ",\"" : "\"") + name + "\":1";
    text += "}";
    for (auto _ : state) {
        Json::Document document;
        if (document.Parse(CString(text.data(), text.size()), Json::Document::PARSE_ANY).Failed())
            state.SkipWithError("refused");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

struct Case {
    char const* name;
    char const* cold; // the name where little is kept
    unsigned which;
};

using ParseT = void (*)(benchmark::State&, unsigned);
using PrintT = void (*)(benchmark::State&, unsigned, FormT);

void Register(Case const& input, char const* who, ParseT parse, PrintT print) {
    std::string const name = input.name;
    benchmark::RegisterBenchmark(("Json.Parse/" + name + '/' + who).c_str(), parse, input.which);
    if (print == nullptr) return;
    benchmark::RegisterBenchmark(("Json.Print/" + name + "-compact/" + who).c_str(), print, input.which,
                                 COMPACT);
    benchmark::RegisterBenchmark(("Json.Print/" + name + "-wide/" + who).c_str(), print, input.which, WIDE);
}

int const registered = [] {
    for (Case const& input :
         {Case{"messages", "messages-not-kept", 0}, Case{"catalogue", "catalogue-not-kept", 1},
          Case{"outline", "outline-not-kept", 2}}) {
        Register(input, "ours", ParseOurs, PrintOurs);
        Case const cold{input.cold, nullptr, input.which};
        Register(cold, "ours", ParseOursCold, nullptr);
#ifdef ZEB_PEER_RAPIDJSON
        Register(input, "rapidjson", ParseRapid, PrintRapid);
        Register(cold, "rapidjson", ParseRapid, nullptr);
        Register(input, "rapidjson-in-place", ParseRapidInPlace, nullptr);
#endif
#ifdef ZEB_PEER_NLOHMANN
        Register(input, "nlohmann", ParseNlohmann, PrintNlohmann);
#endif
#ifdef ZEB_PEER_CJSON
        Register(input, "cjson", ParseCJson, PrintCJson);
#endif
    }
    benchmark::RegisterBenchmark("Json.Record/ten/ours", RecordOurs);
    using GrowT = void (*)(benchmark::State&);
    for (auto const& [name, grow] : {std::pair<char const*, GrowT>{"Json.Object.Append/Growth", GrowObject},
                                     {"Json.Array.Append/Growth", GrowArray},
                                     {"Json.Object.Parse/Growth", GrowText}})
        benchmark::RegisterBenchmark(name, grow)->Arg(16)->Arg(256)->Arg(4096)->Arg(32768);
#ifdef ZEB_PEER_RAPIDJSON
    benchmark::RegisterBenchmark("Json.Record/ten/rapidjson", RecordRapid);
#endif
#ifdef ZEB_PEER_NLOHMANN
    benchmark::RegisterBenchmark("Json.Record/ten/nlohmann", RecordNlohmann);
#endif
    return 0;
}();

} // namespace
