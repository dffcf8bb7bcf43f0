#include "zeb/doc/xml/Stream.h"

#include "tests/doc/xml/Trees.h"
#include "workbench/Feed.h"
#include "workbench/Pieces.h"

using namespace std::literals;
using enum Io::Stateful::StateT;

namespace {

constexpr unsigned long NO_LIMIT = 1UL << 30;

bool Read(PieceStream& from, Node& node, unsigned long limit) { return Xml::Stream::Read(from, node, limit); }

std::string Packed(Node const& node, unsigned long block = 128) {
    return StreamText([&](auto& to) { return Xml::Stream::Write(to, node); }, block);
}

std::string const ROOT = "\0\0\0\0\0\0\0\0\0"s;
std::string const SAMPLE = ROOT + "\x01\0\0\0\1a\0\0\0\2vw\x40\0\0\0\1b\0\0\0\1c\x02\0\0\0\0\0\0\0\2vw"
                                  "\x84\0\0\0\0\0\0\0\1o\xC0\x87\0\0\0\1p\0\0\0\0\xC0"s;

TEST(XmlStream, WritesThePackedForm) {
    LogCapture log;
    Parsed const parsed("<a b='c'>vw<!--o--></a><?p?>", Document::PARSE_COMMENT_NODES | Document::PARSE_PI_NODES);
    for (unsigned long const block : {1, 3, 128}) EXPECT_EQ(Packed(parsed.document, block), SAMPLE);
    Node const& a = *parsed.document.FirstNode();
    EXPECT_EQ(Packed(*a.LastNode()), "\x04\0\0\0\0\0\0\0\1o\xC0"s); // never a sibling of the root
    EXPECT_EQ(Packed(a), SAMPLE.substr(9, SAMPLE.find('\x87') - 9));
    EXPECT_EQ(Packed(Document()), ROOT + '\xC0');
    Io::StringStream full(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_LF, 4, 20);
    EXPECT_FALSE(Xml::Stream::Write(full, parsed.document));
    Document tail; // a tree that leads nowhere
    tail.AppendElement("a"), tail.RemoveAllNodes(tail.AppendElement("b"));
    EXPECT_EQ(Packed(tail), "failed");
}

TEST(XmlStream, ReadsThePackedFormInAllPieces) {
    for (size_t const step : FeedSteps(SAMPLE.size())) {
        Document document;
        PieceStream input(SAMPLE + "rest", Io::EOL_ANY_LF, step != 0 ? step : 4096, step != 0 ? step : 4096);
        ASSERT_TRUE(Read(input, document, SAMPLE.size()) && input.GetChar() == 'r');
        EXPECT_EQ(XmlTree(document), "DOC(E:a=vw @b=c(D=vw CO=o) PI:p)");
        EXPECT_EQ(Packed(document), SAMPLE);
    }
}

TEST(XmlStream, ReadsIntoANodeInTheMiddleOfATree) {
    Document document;
    Node& place = *document.AppendElement("x", "");
    document.AppendElement("y");
    PieceStream input("\x01\0\0\0\1a\0\0\0\0\x02\0\0\0\0\0\0\0\1t\xC0"s);
    ASSERT_TRUE(Read(input, place, NO_LIMIT));
    EXPECT_EQ(XmlTree(document), "DOC(E:a=t(D=t) E:y#5)");
}

TEST(XmlStream, GivesBackRandomTreesAsPrintedTextsDo) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        Document document, copy;
        GrowTree(document, seed);
        PieceStream input(Packed(document, 1 + seed), Io::EOL_ANY_LF, 1 + seed % 17);
        ASSERT_TRUE(Read(input, copy, input.transport.input.size()));
        ASSERT_EQ(XmlTree(copy), XmlTree(document));
        for (unsigned const flags : {1, 3, 9}) {
            std::string const text = XmlText(document, flags, 0, 1 + seed);
            Parsed const parsed(text + " ", 64 | 256 | 512); // comments, instructions, closing tags
            ASSERT_TRUE(parsed.code.Succeeded() || document.FirstNode() == nullptr) << text;
            ASSERT_EQ(std::pair(parsed.Tree(), XmlText(parsed.document, flags)), std::pair(XmlTree(document), text));
        }
    }
}

TEST(XmlStream, RefusesByState) {
    LogCapture log;
    // clang-format off
    std::tuple<std::string, unsigned long, Io::Stateful::StateT> const rows[] = {
        {SAMPLE, 0, STATE_TRUNCATED}, {"\1\0\0\0\1a\0\0\0\0\xC0"s, NO_LIMIT, STATE_INVALID}, // another type
        {"\x40\0\0\0\0\0\0\0\0\xC0"s, NO_LIMIT, STATE_INVALID},     // a root is a child
        {ROOT + ROOT, NO_LIMIT, STATE_INVALID},                     // a document is no child
        {ROOT + "\x81\0\0\0\1a\0\0\0\0"s, NO_LIMIT, STATE_INVALID}, // the root has no sibling
        {ROOT + "\1\0\0\0\1a\0\0\0\0\x80\0\0\0\0"s, NO_LIMIT, STATE_INVALID}, {SAMPLE.substr(0, 12), NO_LIMIT, STATE_EOS},
        // A length beyond the limit.
        {ROOT + "\1\0\0\1\0zzzz"s, 100, STATE_TRUNCATED}, {ROOT + "\1\0\0\0\x5Bz"s, 104, STATE_TRUNCATED},
    };
    // clang-format on
    for (auto const& [bytes, limit, state] : rows) {
        Document document;
        PieceStream input(bytes);
        EXPECT_FALSE(Read(input, document, limit));
        EXPECT_EQ(input.CurrentState(), state) << testing::PrintToString(bytes);
    }
    for (unsigned long size = 1; size < SAMPLE.size(); ++size) {
        Document document;
        PieceStream input(SAMPLE), cut(SAMPLE.substr(0, size));
        EXPECT_TRUE(!Read(input, document, size) && input.CurrentState() == STATE_TRUNCATED) << size;
        document.Clear();
        EXPECT_TRUE(!Read(cut, document, NO_LIMIT) && XmlTree(document).find("!l") == std::string::npos) << size;
    }
}

TEST(XmlStream, ReportsNamesAndGoesOn) {
    LogCapture log;
    Document document;
    std::string const k = "\x40\0\0\0\1k\0\0\0\0"s;
    PieceStream input("\0\0\0\0\1n\0\0\0\0\x01\0\0\0\1\x31\0\0\0\0\x40\0\0\0\1-\0\0\0\0"s + k + k + '\xC0');
    EXPECT_TRUE(Read(input, document, NO_LIMIT));
    EXPECT_EQ(XmlTree(document), "DOC:n(E:1 @- @k)");
    std::string const failed = "C Xml::Stream: system failed [0xcffd****], ";
    EXPECT_EQ(log.Take(), (LinesT{failed + "non-empty DOCUMENT node name.", failed + "invalid ELEMENT node name: \"1\".",
                                  failed + "invalid attribute name: \"-\".", "W Xml::Node: duplicate attribute: \"k\"."}));
}

TEST(XmlStream, SaysExactlyWhenMemoryRanOut) {
    Document source;
    std::string const big(5000, 'n');
    source.AppendElement(View(big), View(big))->AppendAttribute(View(big), View(big));
    std::string const packed = Packed(source);
    ForEveryAllocation([&](Heap& heap) {
        Document document;
        UseInlineBlock(document);
        PieceStream input(packed), again(packed);
        bool const ok = Reported(heap, [&] { return Read(input, document, packed.size()); });
        EXPECT_EQ(document.Valid(), ok);
        auto const state = input.CurrentState();
        EXPECT_TRUE(ok ? XmlTree(document) == XmlTree(source) : state == STATE_NO_MEMORY || state == STATE_FAILED);
        EXPECT_TRUE(ok || !Read(again, document, packed.size())) << "until Clear()";
    });
}

} // namespace
