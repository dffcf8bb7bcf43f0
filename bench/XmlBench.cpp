// XML: parse in place, print, and build and print one small element. Each parse takes its own copy of the
// text and includes the end of the tree; each print writes to memory that is there.

#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Print.h"
#include "zeb/stream/OStream.h"

#include <benchmark/benchmark.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#ifdef ZEB_PEER_PUGIXML
#include <pugixml.hpp>
#endif
#ifdef ZEB_PEER_RAPIDXML
#include <rapidxml/rapidxml.hpp>
#include <rapidxml/rapidxml_print.hpp>
#endif
#ifdef ZEB_PEER_LIBXML2
#include <libxml/parser.h>
#include <libxml/tree.h>
#endif
#ifdef ZEB_PEER_EXPAT
#include <expat.h>
#endif

namespace {

std::string Number(std::mt19937_64& random, unsigned long bound) { return std::to_string(random() % bound); }

// Interfaces with counters: many small elements, indented.
std::string StatusText(unsigned long size) {
    std::mt19937_64 random(1);
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<status>\n";
    for (unsigned i = 0; text.size() < size; ++i) {
        text +=
            "    <interface name=\"eth" + std::to_string(i) + "\" index=\"" + std::to_string(i + 1) + "\">\n";
        text += std::string("        <state>") + (random() % 4 != 0 ? "up" : "down") + "</state>\n";
        text += "        <mtu>1500</mtu>\n        <address>192.168." + Number(random, 256) + "." +
                Number(random, 256) + "</address>\n";
        text += "        <description>Uplink to the switch of room " + Number(random, 1000) +
                "</description>\n        <counters>\n";
        for (char const* direction : {"rx_", "tx_"}) {
            for (char const* counter : {"bytes", "packets", "errors", "dropped"}) {
                std::string const name = std::string(direction) + counter;
                unsigned long const bound = name[3] == 'b'   ? 1000000000000
                                            : name[3] == 'p' ? 1000000000
                                                             : 100;
                text += "            <" + name + ">" + Number(random, bound) + "</" + name + ">\n";
            }
        }
        text += "        </counters>\n    </interface>\n";
    }
    return text + "</status>\n";
}

// A registry: most of it stands in attributes.
std::string AttributeText(unsigned long size) {
    std::mt19937_64 random(2);
    std::string text = "<?xml version=\"1.0\"?>\n<registry>\n";
    for (unsigned i = 0; text.size() < size; ++i) {
        std::string const id = std::to_string(i);
        text += "    <enums name=\"Structure" + id +
                "FlagBits\" type=\"bitmask\" comment=\"Flags of structure &quot;" + id + "&quot;\">\n";
        for (unsigned k = 0; k < 6; ++k) {
            text += "        <enum bitpos=\"" + std::to_string(k) + "\" name=\"STRUCTURE_" + id + "_BIT_" +
                    Number(random, 100000) + "\" comment=\"Bit " + std::to_string(k) + " of the set\"/>\n";
        }
        text += "    </enums>\n    <type category=\"struct\" name=\"Structure" + id + "\">\n";
        for (unsigned k = 0; k < 5; ++k) {
            text += "        <member optional=\"true\" limittype=\"noauto\" "
                    "values=\"STRUCTURE_TYPE\"><type>uint" +
                    std::to_string(8U << random() % 4) + "_t</type> <name>member" + std::to_string(k) +
                    "</name></member>\n";
        }
        text += "    </type>\n";
    }
    return text + "</registry>\n";
}

std::string const& Input(std::string const& name) {
    static std::map<std::string, std::string> texts;
    std::string& text = texts[name];
    if (text.empty()) {
        text = name == "attributes3M" ? AttributeText(3 << 20)
               : name == "status100K" ? StatusText(100 << 10)
               : name == "status1M"   ? StatusText(1 << 20)
                                      : StatusText(5 << 20);
    }
    return text;
}

// A stream into memory that is there.
class MemoryTransport : public Io::Base {
public:
    MemoryTransport(Io::Stateful& state, std::vector<char>& memory)
        : Base(state)
        , memory_(memory) {}

    bool SysRead(void*, unsigned long, unsigned long& done) override { return done = 0, false; }
    bool SysWrite(void const* data, unsigned long size, unsigned long& done) override {
        memcpy(memory_.data() + written_, data, size);
        written_ += size;
        return done = size, true;
    }
    bool SysFlush() override { return true; }

private:
    std::vector<char>& memory_;
    unsigned long written_ = 0;
};

struct MemoryStream {
    explicit MemoryStream(std::vector<char>& memory)
        : transport(stream, memory)
        , buffer(transport, stream)
        , stream(buffer, eol) {
        buffer.Set(block, sizeof(block));
    }

    MemoryTransport transport;
    Io::Buffer buffer;
    Io::EndOfLineT eol = Io::EOL_LF;
    Io::OStream stream;
    char block[16384];
};

template<typename ParseT>
void Parse(benchmark::State& state, std::string const& name, ParseT parse) {
    std::string const& text = Input(name);
    std::vector<char> buffer(text.size() + 1);
    for (auto _ : state) {
        memcpy(buffer.data(), text.c_str(), text.size() + 1);
        if (!parse(buffer.data(), text.size())) return state.SkipWithError("parse failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

bool ParseOurs(char* text, unsigned long) {
    Xml::Document document;
    bool const ok = document.Parse(text, Xml::Document::PARSE_DEFAULT, Log::VERBOSE_ON).Succeeded();
    benchmark::DoNotOptimize(document.FirstNode());
    return ok;
}

void PrintOurs(benchmark::State& state, std::string const& name) {
    std::string text = Input(name);
    Xml::Document document;
    if (document.Parse(text.data(), Xml::Document::PARSE_DEFAULT, Log::VERBOSE_ON).Failed()) {
        return state.SkipWithError("parse failed");
    }
    std::vector<char> memory(2 * text.size());
    for (auto _ : state) {
        MemoryStream out(memory);
        benchmark::DoNotOptimize(Xml::Print(out.stream, document) && out.stream.Flush());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

constexpr char const* COUNTERS[] = {"rx_bytes", "rx_packets", "rx_errors", "rx_dropped",
                                    "tx_bytes", "tx_packets", "tx_errors", "tx_dropped"};

void SmallOurs(benchmark::State& state) {
    std::vector<char> memory(4096);
    MemoryStream out(memory);
    for (auto _ : state) {
        Xml::Document document;
        Xml::Node& status = *document.AppendElement("status");
        status.AppendAttribute("name", "eth0");
        status.AppendAttribute("state", "up");
        for (char const* counter : COUNTERS)
            status.AppendElement(counter, "123456");
        benchmark::DoNotOptimize(Xml::Print(out.stream, document));
        out.buffer.PTruncate(0);
    }
}

#ifdef ZEB_PEER_PUGIXML
// What our parser does: references are expanded, blank texts are left out.
constexpr unsigned PUGI_FLAGS = pugi::parse_minimal | pugi::parse_escapes | pugi::parse_cdata;

bool ParsePugi(char* text, unsigned long size) {
    pugi::xml_document document;
    bool const ok = document.load_buffer_inplace(text, size, PUGI_FLAGS, pugi::encoding_utf8);
    benchmark::DoNotOptimize(document.first_child().internal_object());
    return ok;
}

struct PugiWriter : pugi::xml_writer {
    explicit PugiWriter(std::vector<char>& target)
        : memory(target) {}
    void write(void const* data, size_t size) override {
        memcpy(memory.data() + written, data, size);
        written += size;
    }
    std::vector<char>& memory;
    unsigned long written = 0;
};

void PrintPugi(benchmark::State& state, std::string const& name) {
    std::string text = Input(name);
    pugi::xml_document document;
    document.load_buffer_inplace(text.data(), text.size(), PUGI_FLAGS, pugi::encoding_utf8);
    std::vector<char> memory(2 * text.size());
    for (auto _ : state) {
        PugiWriter writer(memory);
        document.save(writer, "    ", pugi::format_indent | pugi::format_no_declaration, pugi::encoding_utf8);
        benchmark::DoNotOptimize(writer.written);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void SmallPugi(benchmark::State& state) {
    std::vector<char> memory(4096);
    for (auto _ : state) {
        pugi::xml_document document;
        pugi::xml_node status = document.append_child("status");
        status.append_attribute("name") = "eth0";
        status.append_attribute("state") = "up";
        for (char const* counter : COUNTERS)
            status.append_child(counter).append_child(pugi::node_pcdata).set_value("123456");
        PugiWriter writer(memory);
        document.save(writer, "    ", pugi::format_indent | pugi::format_no_declaration, pugi::encoding_utf8);
        benchmark::DoNotOptimize(writer.written);
    }
}
#endif

#ifdef ZEB_PEER_RAPIDXML
template<int FLAGS>
bool ParseRapid(char* text, unsigned long) {
    rapidxml::xml_document<> document;
    document.parse<FLAGS>(text);
    benchmark::DoNotOptimize(document.first_node());
    return true;
}

void PrintRapid(benchmark::State& state, std::string const& name) {
    std::string text = Input(name);
    rapidxml::xml_document<> document;
    document.parse<0>(text.data());
    std::vector<char> memory(2 * text.size());
    for (auto _ : state)
        benchmark::DoNotOptimize(rapidxml::print(memory.data(), document, 0));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void SmallRapid(benchmark::State& state) {
    std::vector<char> memory(4096);
    for (auto _ : state) {
        rapidxml::xml_document<> document;
        auto* const status = document.allocate_node(rapidxml::node_element, "status");
        document.append_node(status);
        status->append_attribute(document.allocate_attribute("name", "eth0"));
        status->append_attribute(document.allocate_attribute("state", "up"));
        for (char const* counter : COUNTERS)
            status->append_node(document.allocate_node(rapidxml::node_element, counter, "123456"));
        benchmark::DoNotOptimize(rapidxml::print(memory.data(), document, 0));
    }
}
#endif

#ifdef ZEB_PEER_LIBXML2
bool ParseLibxml2(char* text, unsigned long size) {
    xmlDocPtr const document =
        xmlReadMemory(text, static_cast<int>(size), nullptr, nullptr, XML_PARSE_NOBLANKS | XML_PARSE_HUGE);
    xmlFreeDoc(document);
    return document != nullptr;
}

void PrintLibxml2(benchmark::State& state, std::string const& name) {
    std::string const& text = Input(name);
    xmlDocPtr const document =
        xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, XML_PARSE_NOBLANKS);
    for (auto _ : state) {
        xmlChar* memory = nullptr;
        int size = 0;
        xmlDocDumpFormatMemory(document, &memory, &size, 1);
        xmlFree(memory);
    }
    xmlFreeDoc(document);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
#endif

#ifdef ZEB_PEER_EXPAT
bool ParseExpat(char* text, unsigned long size) {
    XML_Parser const parser = XML_ParserCreate(nullptr);
    unsigned long events = 0;
    XML_SetUserData(parser, &events);
    XML_SetElementHandler(
        parser, [](void* count, char const*, char const**) { ++*static_cast<unsigned long*>(count); },
        [](void* count, char const*) { ++*static_cast<unsigned long*>(count); });
    XML_SetCharacterDataHandler(parser,
                                [](void* count, char const*, int) { ++*static_cast<unsigned long*>(count); });
    bool const ok = XML_Parse(parser, text, static_cast<int>(size), 1) == XML_STATUS_OK;
    XML_ParserFree(parser);
    benchmark::DoNotOptimize(events);
    return ok;
}
#endif

void RegisterParse(std::string const& name) {
    auto const add = [&](char const* who, bool (*parse)(char*, unsigned long)) {
        benchmark::RegisterBenchmark(("Xml.Parse/" + name + "/" + who).c_str(),
                                     [name, parse](benchmark::State& state) { Parse(state, name, parse); });
    };
    add("ours", ParseOurs);
#ifdef ZEB_PEER_PUGIXML
    add("pugixml", ParsePugi);
#endif
#ifdef ZEB_PEER_RAPIDXML
    add("rapidxml", ParseRapid<0>);
    add("rapidxml-fastest", ParseRapid<rapidxml::parse_fastest>);
#endif
#ifdef ZEB_PEER_LIBXML2
    add("libxml2", ParseLibxml2);
#endif
#ifdef ZEB_PEER_EXPAT
    add("expat", ParseExpat);
#endif
}

void RegisterPrint(std::string const& name) {
    auto const add = [&](char const* who, void (*print)(benchmark::State&, std::string const&)) {
        benchmark::RegisterBenchmark(("Xml.Print/" + name + "/" + who).c_str(),
                                     [name, print](benchmark::State& state) { print(state, name); });
    };
    add("ours", PrintOurs);
#ifdef ZEB_PEER_PUGIXML
    add("pugixml", PrintPugi);
#endif
#ifdef ZEB_PEER_RAPIDXML
    add("rapidxml", PrintRapid);
#endif
#ifdef ZEB_PEER_LIBXML2
    add("libxml2", PrintLibxml2);
#endif
}

// What one more child costs in an element that fills up.
void GrowElements(benchmark::State& state) {
    for (auto _ : state) {
        Xml::Document document;
        for (long i = 0; i < state.range(0); ++i)
            document.AppendElement("client", i);
        if (!document.Valid()) state.SkipWithError("no memory");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

[[maybe_unused]] bool const registered = [] {
    benchmark::RegisterBenchmark("Xml.AppendElement/Growth", GrowElements)
        ->Arg(16)
        ->Arg(256)
        ->Arg(4096)
        ->Arg(32768);
    for (char const* name : {"status100K", "status1M", "status5M", "attributes3M"})
        RegisterParse(name);
    for (char const* name : {"status1M", "attributes3M"})
        RegisterPrint(name);
    benchmark::RegisterBenchmark("Xml.BuildAndPrint/small/ours", SmallOurs);
#ifdef ZEB_PEER_PUGIXML
    benchmark::RegisterBenchmark("Xml.BuildAndPrint/small/pugixml", SmallPugi);
#endif
#ifdef ZEB_PEER_RAPIDXML
    benchmark::RegisterBenchmark("Xml.BuildAndPrint/small/rapidxml", SmallRapid);
#endif
    return true;
}();

} // namespace
