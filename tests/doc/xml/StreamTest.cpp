#include "zeb/doc/xml/Stream.h"

#include "tests/doc/xml/Trees.h"
#include "workbench/Feed.h"
#include "workbench/LogCapture.h"

using Io::Stateful;
using LinesT = LogCapture::LinesT;

namespace {

constexpr unsigned long NO_LIMIT = 1UL << 30;

std::string operator""_bytes(char const* data, size_t size) { return std::string(data, size); }

struct Input {
    explicit Input(std::string const& bytes, unsigned long block = 128)
        : stream(bytes.data(), bytes.size(), Io::MODE_READ_WRITE, Io::EOL_ANY_LF, block, 1L << 30) {}
    Io::StringStream stream;
};

std::string Packed(Node const& node, unsigned long block = 128) {
    Io::StringStream stream(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_LF, block, 1L << 24);
    if (!Xml::Stream::Write(stream, node) || !stream.Flush()) return "failed";
    return Text(stream.Str());
}

std::string const SAMPLE = "\0\0\0\0\0\0\0\0\0"
                           "\x01\0\0\0\1a\0\0\0\2vw"
                           "\x40\0\0\0\1b\0\0\0\1c"
                           "\x02\0\0\0\0\0\0\0\2vw"
                           "\x84\0\0\0\0\0\0\0\1o"
                           "\xC0"
                           "\x87\0\0\0\1p\0\0\0\0"
                           "\xC0"_bytes;

TEST(XmlStream, WritesThePackedForm) {
    LogCapture log;
    Parsed const parsed("<a b='c'>vw<!--o--></a><?p?>", Document::PARSE_COMMENT_NODES | Document::PARSE_PI_NODES);
    for (unsigned long const block : {1, 3, 128}) EXPECT_EQ(Packed(parsed.document, block), SAMPLE);
    Node const& a = *parsed.document.FirstNode();
    EXPECT_EQ(Packed(*a.LastNode()), "\x04\0\0\0\0\0\0\0\1o\xC0"_bytes); // never a sibling of the root
    EXPECT_EQ(Packed(a), SAMPLE.substr(9, SAMPLE.find('\x87') - 9));
    EXPECT_EQ(Packed(Document()), "\0\0\0\0\0\0\0\0\0\xC0"_bytes);
    Io::StringStream full(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_LF, 4, 20);
    EXPECT_FALSE(Xml::Stream::Write(full, parsed.document));
    Document tail; // a tree that leads nowhere
    tail.AppendElement("a");
    tail.RemoveAllNodes(tail.AppendElement("b"));
    EXPECT_EQ(Packed(tail), "failed");
}

TEST(XmlStream, ReadsThePackedFormInAllPieces) {
    for (size_t const step : FeedSteps(SAMPLE.size())) {
        Document document;
        Input input(SAMPLE + "rest", step != 0 ? step : 4096);
        ASSERT_TRUE(Xml::Stream::Read(input.stream, document, SAMPLE.size()));
        EXPECT_EQ(Dump(document), "DOC(E:a=vw @b=c(D=vw CO=o) PI:p)");
        EXPECT_EQ(input.stream.GetChar(), 'r');
        EXPECT_EQ(Packed(document), SAMPLE);
    }
}

TEST(XmlStream, ReadsIntoANodeInTheMiddleOfATree) {
    Document document;
    Node& place = *document.AppendElement("x", "");
    document.AppendElement("y");
    Input input("\x01\0\0\0\1a\0\0\0\0\x02\0\0\0\0\0\0\0\1t\xC0"_bytes);
    ASSERT_TRUE(Xml::Stream::Read(input.stream, place, NO_LIMIT));
    EXPECT_EQ(Dump(document), "DOC(E:a=t(D=t) E:y#5)");
}

TEST(XmlStream, GivesBackRandomTrees) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        Document document;
        GrowTree(document, seed);
        std::string const packed = Packed(document, 1 + seed);
        Document copy;
        Input input(packed, 1 + seed % 17);
        ASSERT_TRUE(Xml::Stream::Read(input.stream, copy, packed.size()));
        ASSERT_EQ(Dump(copy), Dump(document));
    }
}

TEST(XmlStream, RefusesByState) {
    LogCapture log;
    std::string const root = "\0\0\0\0\0\0\0\0\0"_bytes;
    // clang-format off
    std::tuple<std::string, unsigned long, Stateful::StateT> const rows[] = {
        {SAMPLE, 0, Stateful::STATE_TRUNCATED},
        {"\1\0\0\0\1a\0\0\0\0\xC0"_bytes, NO_LIMIT, Stateful::STATE_INVALID},      // another type
        {"\x40\0\0\0\0\0\0\0\0\xC0"_bytes, NO_LIMIT, Stateful::STATE_INVALID},     // a root is a child
        {root + "\0\0\0\0\0\0\0\0\0"_bytes, NO_LIMIT, Stateful::STATE_INVALID},    // a document is no child
        {root + "\x81\0\0\0\1a\0\0\0\0"_bytes, NO_LIMIT, Stateful::STATE_INVALID}, // the root has no sibling
        {root + "\1\0\0\0\1a\0\0\0\0\x80\0\0\0\0"_bytes, NO_LIMIT, Stateful::STATE_INVALID},
        {root + "\1\0\0\1\0zzzz"_bytes, 100, Stateful::STATE_TRUNCATED}, // a length beyond the limit
        {root + "\1\0\0\0\x5Bz"_bytes, 104, Stateful::STATE_TRUNCATED}, {SAMPLE.substr(0, 12), NO_LIMIT, Stateful::STATE_EOS},
    };
    // clang-format on
    for (auto const& [bytes, limit, state] : rows) {
        Document document;
        Input input(bytes);
        EXPECT_FALSE(Xml::Stream::Read(input.stream, document, limit));
        EXPECT_EQ(input.stream.CurrentState(), state) << testing::PrintToString(bytes);
    }
    for (unsigned long size = 1; size < SAMPLE.size(); ++size) {
        Document document;
        Input input(SAMPLE);
        EXPECT_FALSE(Xml::Stream::Read(input.stream, document, size));
        EXPECT_EQ(input.stream.CurrentState(), Stateful::STATE_TRUNCATED) << size;
        Input cut(SAMPLE.substr(0, size));
        document.Clear();
        EXPECT_FALSE(Xml::Stream::Read(cut.stream, document, NO_LIMIT)) << size;
        EXPECT_EQ(Dump(document).find("!l"), std::string::npos);
    }
}

TEST(XmlStream, ReportsNamesAndGoesOn) {
    LogCapture log;
    Document document;
    Input input("\0\0\0\0\1n\0\0\0\0"
                "\x01\0\0\0\1"
                "1\0\0\0\0"
                "\x40\0\0\0\1-\0\0\0\0\x40\0\0\0\1k\0\0\0\0\x40\0\0\0\1k\0\0\0\0"
                "\xC0"_bytes);
    EXPECT_TRUE(Xml::Stream::Read(input.stream, document, NO_LIMIT));
    EXPECT_EQ(Dump(document), "DOC:n(E:1 @- @k)");
    EXPECT_EQ(log.Take(), (LinesT{"C Xml::Stream: system failed [0xcffd****], non-empty DOCUMENT node name.",
                                  "C Xml::Stream: system failed [0xcffd****], invalid ELEMENT node name: \"1\".",
                                  "C Xml::Stream: system failed [0xcffd****], invalid attribute name: \"-\".",
                                  "W Xml::Node: duplicate attribute: \"k\"."}));
}

TEST(XmlStream, SaysExactlyWhenMemoryRanOut) {
    Document source;
    std::string const big(5000, 'n');
    source.AppendElement(View(big), View(big))->AppendAttribute(View(big), View(big));
    std::string const packed = Packed(source);
    ForEveryAllocation([&](Heap& heap) {
        Document document;
        UseInlineBlock(document);
        Input input(packed);
        heap.Arm();
        bool const ok = Xml::Stream::Read(input.stream, document, packed.size());
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_EQ(document.Valid(), ok);
        EXPECT_TRUE(!ok || Dump(document) == Dump(source));
        if (ok) return;
        Stateful::StateT const state = input.stream.CurrentState();
        EXPECT_TRUE(state == Stateful::STATE_NO_MEMORY || state == Stateful::STATE_FAILED);
        Input again(packed);
        EXPECT_FALSE(Xml::Stream::Read(again.stream, document, packed.size())) << "until Clear()";
    });
}

} // namespace
