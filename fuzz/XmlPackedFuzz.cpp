// The packed form of XML: bytes of root type, failing allocation and split size, a word of limit, then the
// stream. What reads can be written, and reads the same.
#include "fuzz/FuzzHeap.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/FuzzXml.h"

#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Stream.h"
#include "zeb/stream/StringStream.h"

#include <climits>

namespace {

// A text in a text gives its value to the outer one when it is read, and that in turn to the element at the
// next reading.
bool AnyTextInText(Xml::Node const& node) {
    for (auto const* child = node.FirstNode(); child != nullptr; child = child->NextSibling())
        if ((node.Type() == Xml::Node::DATA && child->Type() == Xml::Node::DATA) || AnyTextInText(*child))
            return true;
    return false;
}

void WriteAndRead(Xml::Document const& document, unsigned long split) {
    Io::StringStream out(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_ANY_LF, split, LONG_MAX);
    FUZZ_CHECK(Xml::Stream::Write(out, document) && out.Flush());
    Io::StringStream in(out.Str().Cstr(), out.Str().Size(), Io::MODE_READ, Io::EOL_ANY_LF, split, LONG_MAX);
    Xml::Document again;
    FUZZ_CHECK(Xml::Stream::Read(in, again, out.Str().Size()));
    FUZZ_CHECK(AnyTextInText(document) || TreeText(document) == TreeText(again));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    FuzzInput input(data, size);
    unsigned long const failing = input.Failing();
    unsigned long const split = input.Split();
    unsigned long const limit = input.Word();
    std::string_view const text = input.Rest();

    Io::StringStream stream(text.data(), text.size(), Io::MODE_READ, Io::EOL_ANY_LF, split, LONG_MAX);
    FUZZ_CHECK(stream.Ok());
    Xml::Document document;
    FuzzHeap::Arm(failing);
    bool const read = Xml::Stream::Read(stream, document, limit);
    bool const fired = FuzzHeap::Disarm();
    // The end of input alone is no failure of the stream.
    FUZZ_CHECK(read ? stream.Ok() : !stream.Ok() || stream.Eos());
    FUZZ_CHECK(!fired || stream.CurrentState() == Io::Stateful::STATE_NO_MEMORY ||
               stream.CurrentState() == Io::Stateful::STATE_FAILED);
    FUZZ_CHECK(fired || stream.CurrentState() != Io::Stateful::STATE_NO_MEMORY);
    if (read) WriteAndRead(document, split);
    FUZZ_CHECK(!TreeText(document).empty());
    return 0;
}
