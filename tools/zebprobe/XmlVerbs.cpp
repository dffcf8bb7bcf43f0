#include "tools/zebprobe/Probe.h"

#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Print.h"
#include "zeb/doc/xml/Stream.h"
#include "zeb/stream/StringStream.h"

#include <climits>

namespace Probe {

namespace {

using Flags = Xml::Document;

constexpr unsigned long MAX_PARSE_FLAGS = 0xFFF;
constexpr unsigned long MAX_PRINT_FLAGS = 0xF;
constexpr auto ALL_NODES = Flags::PARSE_DECLARATION_NODE | Flags::PARSE_COMMENT_NODES |
                           Flags::PARSE_DOCTYPE_NODE | Flags::PARSE_PI_NODES;

char const* CheckFlags(Options const& options) {
    unsigned long flags;
    if (!ParseNumber(options.words[0], MAX_PARSE_FLAGS, flags)) return "FLAGS is a number up to 0xfff";
    bool const printFlags = options.words.size() < 2 || ParseNumber(options.words[1], MAX_PRINT_FLAGS, flags);
    return printFlags ? nullptr : "PRINTFLAGS is a number up to 15";
}

unsigned long Word(Options const& options, std::size_t index) {
    unsigned long number = 0;
    ParseNumber(options.words[index], ~0UL, number);
    return number;
}

// (type "name" "value" @"name"="value" ... children)
std::string Dump(Xml::Node const& node) {
    std::string text = "(" + std::to_string(node.Type()) + " " + Quoted(View(node.Name())) + " " +
                       Quoted(View(node.Value()));
    for (auto const* a = node.FirstAttribute(); a != nullptr; a = a->NextAttribute())
        text += " @" + Quoted(View(a->Name())) + "=" + Quoted(View(a->Value()));
    for (Xml::Node const* child = node.FirstNode(); child != nullptr; child = child->NextSibling())
        text += " " + Dump(*child);
    return text + ")";
}

// `buffer` belongs to the tree from then on.
ReturnT ParseInto(Xml::Document& document, std::string& buffer, unsigned long flags, Options const& options) {
    return document.Parse(buffer.data(), static_cast<Xml::Document::ParseFlagsT>(flags),
                          static_cast<Log::VerboseT>(options.log ? 1 : 0));
}

unsigned long BufferSize(Options const& options) {
    return options.split == 0 ? Io::StringStream::DEFAULT_BUFFER_SIZE : options.split;
}

Result RunDump(std::string const& input, Options const& options) {
    Xml::Document document;
    std::string buffer = input;
    ReturnT const code = ParseInto(document, buffer, Word(options, 0), options);
    return {code.Code(), code.Failed() ? "" : Dump(document)};
}

Result RunPrint(std::string const& input, Options const& options) {
    Xml::Document document;
    std::string buffer = input;
    ReturnT const code = ParseInto(document, buffer, Word(options, 0), options);
    if (code.Failed()) return {code.Code(), ""};
    Io::StringStream stream(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_ANY_LF, BufferSize(options),
                            LONG_MAX);
    bool const printed =
        Xml::Print(stream, document, static_cast<Xml::PrintFlagsT>(Word(options, 1))) && stream.Flush();
    return {printed ? code.Code() : REFUSED, Quoted(View(stream.Str()))};
}

// The packed form of a tree; empty on failure.
std::string Pack(Xml::Document const& document, Options const& options) {
    Io::StringStream stream(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_ANY_LF, BufferSize(options),
                            LONG_MAX);
    bool const written = Xml::Stream::Write(stream, document) && stream.Flush();
    return written ? std::string(View(stream.Str())) : std::string();
}

Result RunPacked(std::string const& input, Options const& options) {
    Xml::Document document;
    std::string buffer = input;
    ReturnT const code = ParseInto(document, buffer, ALL_NODES, options);
    if (code.Failed()) return {code.Code(), ""};
    std::string const packed = Pack(document, options);
    if (packed.empty()) return {REFUSED, "cannot write"};
    Io::StringStream stream(packed.data(), packed.size(), Io::MODE_READ, Io::EOL_ANY_LF, BufferSize(options),
                            LONG_MAX);
    Xml::Document again;
    if (!Xml::Stream::Read(stream, again, packed.size()))
        return {REFUSED, std::string("cannot read: ") + stream.ErrorString()};
    bool const same = Dump(document) == Dump(again) && Pack(again, options) == packed;
    return {same ? code.Code() : REFUSED,
            (same ? "same, " : "differs, ") + std::to_string(packed.size()) + " bytes"};
}

} // namespace

VerbsT const& XmlVerbs() {
    static VerbsT const verbs = {
        {"xml", "FLAGS", "XML; the tree", CheckFlags, RunDump},
        {"xml-print", "FLAGS PRINTFLAGS", "XML, printed again", CheckFlags, RunPrint},
        {"xml-packed", "", "XML, packed, read back and compared", CheckNothing, RunPacked},
    };
    return verbs;
}

} // namespace Probe
