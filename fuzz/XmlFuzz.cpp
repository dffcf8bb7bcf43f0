// Text of XML: a word of parse flags, bytes of print flags, failing allocation and split size, then the text.
// What parses prints to a text that parses again and prints the same.
#include "fuzz/FuzzHeap.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/FuzzXml.h"

#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Print.h"
#include "zeb/stream/StringStream.h"

#include <climits>

#include <strings.h>

namespace {

using Flags = Xml::Document;

constexpr auto ALL_NODES = Flags::PARSE_DECLARATION_NODE | Flags::PARSE_COMMENT_NODES |
                           Flags::PARSE_DOCTYPE_NODE | Flags::PARSE_PI_NODES;
constexpr unsigned FLAG_BITS = 0xFFF;

// The printed text; empty if the injected failure struck.
std::string Print(Xml::Node const& node, unsigned flags, unsigned long split, unsigned long failing) {
    FuzzHeap::Arm(failing);
    Io::StringStream stream(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_ANY_LF, split, LONG_MAX);
    bool const printed = Xml::Print(stream, node, static_cast<Xml::PrintFlagsT>(flags)) && stream.Flush();
    FUZZ_CHECK(printed == !FuzzHeap::Disarm());
    return printed ? std::string(stream.Str().Cstr(), stream.Str().Size()) : std::string();
}

// Texts whose printed form reads otherwise by the rules of the format: a reference may put a NUL, or a text
// of nothing but whitespace, into the tree; a target of "xml" without a blank is no declaration, but prints
// like one.
bool ReadsOtherwise(std::string_view text) {
    if (text.find("&#") != std::string_view::npos) return true;
    for (std::size_t at = 0; (at = text.find("<?", at)) != std::string_view::npos; at += 2)
        if (strncasecmp(std::string(text.substr(at + 2, 3)).c_str(), "xml", 3) == 0) return true;
    return false;
}

void PrintAndParse(Xml::Document const& document, std::string_view text, unsigned flags,
                   unsigned long split) {
    std::string const first = Print(document, flags | Xml::PRINT_COMPACT, split, 0);
    if (ReadsOtherwise(text) || first.find_first_not_of(" \t\r\n") == std::string::npos) return;
    // Malformed UTF-8 takes what stands behind it along.
    if (first.find("\xEF\xBF\xBD") != std::string::npos || first.find("&#xfffd;") != std::string::npos)
        return;
    std::string buffer = first;
    Xml::Document again;
    FUZZ_CHECK(again.Parse(buffer.data(), ALL_NODES, Log::VerboseT{}).Succeeded());
    FUZZ_CHECK(Print(again, flags | Xml::PRINT_COMPACT, split, 0) == first);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    FuzzInput input(data, size);
    auto const flags = static_cast<Xml::Document::ParseFlagsT>(input.Word() & FLAG_BITS);
    unsigned const printFlags = input.Byte();
    unsigned long const failing = input.Failing();
    unsigned long const split = input.Split();
    std::string_view const text = input.Rest();
    std::string buffer(text);
    bool const failsInPrint = (printFlags & 0x10) != 0;

    Xml::Document document;
    FuzzHeap::Arm(failsInPrint ? 0 : failing);
    ReturnT const code = document.Parse(buffer.data(), flags, Log::VerboseT{});
    bool const fired = FuzzHeap::Disarm();
    FUZZ_CHECK(code.IsOom() == fired);
    FUZZ_CHECK(document.Valid() == !fired);
    FUZZ_CHECK(!TreeText(document).empty());
    if (code.Succeeded()) {
        Print(document, printFlags & 0xF, split, failsInPrint ? failing : 0);
        PrintAndParse(document, text.substr(0, text.find('\0')), printFlags & 0xF, split);
    }
    document.Clear();
    FUZZ_CHECK(document.Valid() && document.FirstNode() == nullptr);
    return 0;
}
