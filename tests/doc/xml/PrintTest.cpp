#include "tests/doc/xml/Trees.h"

namespace {

constexpr unsigned ALL_NODES = 32 | 64 | 128 | 256;
constexpr unsigned FORMATTED = 0, COMPACT = 1, ASCII = 2, CRLF = 4, NO_EMPTY_TAG = 8;

TEST(XmlPrint, LaysOutEveryKindOfNode) {
    // clang-format off
    std::tuple<char const*, unsigned, char const*> const rows[] = {
        {"<x/>", FORMATTED, "<x/>\n\n"}, {"<x/>", NO_EMPTY_TAG, "<x></x>\n\n"}, {"<x/>", CRLF, "<x/>\r\n\r\n"},
        {"<x/>", COMPACT | CRLF | NO_EMPTY_TAG, "<x></x>"},
        {"<x>1<!--c--></x>", FORMATTED, "<x>\n    1\n    <!--c-->\n</x>\n\n"},
        {"<x><![CDATA[<&]]></x>", COMPACT, "<x><![CDATA[<&]]></x>"},
        {"<x a='1' b='2'><y c=''/></x>", FORMATTED, "<x a=\"1\" b=\"2\">\n    <y c=\"\"/>\n</x>\n\n"},
        {"<?xml version='1.0' ?><!DOCTYPE a [<b>]><?p  q r?><a/>", FORMATTED,
         "<?xml version=\"1.0\"?>\n<!DOCTYPE a [<b>]>\n<?p q r?>\n<a/>\n\n"},
        {"<a><b><c>1</c></b></a>", CRLF, "<a>\r\n    <b>\r\n        <c>1</c>\r\n    </b>\r\n</a>\r\n\r\n"},
    };
    // clang-format on
    for (auto const& [text, flags, printed] : rows) {
        Parsed const parsed(text, ALL_NODES);
        for (unsigned long const block : {1, 2, 7, 13, 128, 4096})
            EXPECT_EQ(XmlText(parsed.document, flags, 0, block), printed) << block;
    }
    Parsed const parsed("<a><b/></a>");
    EXPECT_EQ(XmlText(*parsed.document.FirstNode(), FORMATTED, 2), "        <a>\n            <b/>\n        </a>\n");
    EXPECT_EQ(XmlText(Document(), FORMATTED), "\n");
}

TEST(XmlPrint, PrintsWhatATreeMayHoldBesides) {
    LogCapture log;
    Document document;
    Node& element = *document.AppendElement("e", "own & value");
    EXPECT_EQ(XmlText(document), "<e>own &amp; value</e>");
    element.PrependAttribute(document.AllocateAttribute("", "nameless"));
    element.AppendNode(document.AllocateNilNode(static_cast<Node::TypeT>(9)));
    EXPECT_EQ(XmlText(document, FORMATTED), "<e>\n    \n</e>\n\n");
    element.AppendElement("1 <");
    EXPECT_EQ(XmlText(document), "<e><1 </></e>");
}

TEST(XmlPrint, EscapesTextsAndChoosesQuotes) {
    // A value, its form in an element, and behind "a=".
    // clang-format off
    std::tuple<char const*, char const*, char const*> const rows[] = {
        {"plain", "plain", "\"plain\""}, {"a<b>c&d", "a&lt;b&gt;c&amp;d", "\"a&lt;b&gt;c&amp;d\""},
        {"it's", "it&apos;s", "\"it's\""}, {"say \"x\" & go", "say &quot;x&quot; &amp; go", "'say \"x\" &amp; go'"},
        {"'\"", "&apos;&quot;", "\"&apos;&quot;\""}, {"\t\n\r\x7F", "\t\n\r\x7F", "\"\t\n\r\x7F\""},
        {"0123456789abcde<0123456789abcdef>", "0123456789abcde&lt;0123456789abcdef&gt;",
         "\"0123456789abcde&lt;0123456789abcdef&gt;\""},
    };
    // clang-format on
    for (auto const& [value, text, attribute] : rows) {
        Document document;
        document.AppendElement("e", value)->AppendAttribute("a", value);
        for (unsigned long const block : {1, 5, 128})
            EXPECT_EQ(XmlText(document, COMPACT, 0, block), std::string("<e a=") + attribute + ">" + text + "</e>");
    }
}

TEST(XmlPrint, RepairsCodePoints) {
    // A value, its printed form, and that in ASCII.
    std::string const bad = "\xEF\xBF\xBD";
    // clang-format off
    std::tuple<std::string, std::string, char const*> const rows[] = {
        {"\xC3\xA9", "\xC3\xA9", "&#xe9;"}, {"\xE2\x82\xAC", "\xE2\x82\xAC", "&#x20ac;"},
        {"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80", "&#x01f600;"}, {"\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF", "&#x10ffff;"},
        {"\xED\xA0\x80", "\xED\xA0\x80", "&#xd800;"}, // surrogates pass
        {"\x01", bad, "&#xfffd;"}, {std::string("a\0b", 3), "a" + bad + "b", "a&#xfffd;b"}, {"\xFF", bad, "&#xfffd;"},
        {"\xFF\x80\xC1\xF5z", bad + "z", "&#xfffd;z"}, {"\xC3z", bad + "z", "&#xfffd;z"},
        {"\xC3\xC3\xA9", bad + "\xC3\xA9", "&#xfffd;&#xe9;"}, {"\xE2\x82", bad, "&#xfffd;"},
        // What is left of a short sequence goes as a whole.
        {"\xE2z\x82y", bad + "z" + bad + "y", "&#xfffd;z&#xfffd;y"}, {"\xE0\x9F\x80z", bad + "z", "&#xfffd;z"},
        {"\xE0\xA0\x80", "\xE0\xA0\x80", "&#x0800;"}, {"\xE2\x82zy", bad + "zy", "&#xfffd;zy"},
        {"\xF0\x9F\x98", bad, "&#xfffd;"}, {"\xF0\x8F\x80\x80z", bad + "z", "&#xfffd;z"},
        {"\xF4\x90\x80\x80z", bad + "z", "&#xfffd;z"}, {"\xF1\x80\x80yz", bad + "yz", "&#xfffd;yz"},
    };
    // clang-format on
    for (auto const& [value, printed, ascii] : rows) {
        Document document;
        document.AppendElement("e", View(value));
        EXPECT_EQ(XmlText(document), "<e>" + printed + "</e>");
        EXPECT_EQ(XmlText(document, COMPACT | ASCII), std::string("<e>") + ascii + "</e>");
        document.Clear();
        document.AppendNode(document.AllocateNode(Node::COMMENT, CString(), View(value)));
        EXPECT_EQ(XmlText(document, COMPACT | ASCII), "<!--" + printed + "-->");
    }
}

TEST(XmlPrint, StopsAtAFailedStream) {
    std::string const text = "<a><b>12345678</b><c>12345678</c></a>";
    Parsed const parsed(text);
    for (long room = 0; room < 37; ++room) {
        Io::StringStream stream(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_LF, 4, room);
        EXPECT_FALSE(Xml::Print(stream, parsed.document, Xml::PRINT_COMPACT) && stream.Flush());
        EXPECT_EQ(Text(stream.Str()), text.substr(0, static_cast<size_t>(room)));
        EXPECT_TRUE(stream.CurrentState() == Io::Stateful::STATE_FAILED && !Xml::Print(stream, parsed.document));
    }
    Io::StringStream noBlock(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_LF, 0, 100);
    EXPECT_FALSE(Xml::Print(noBlock, parsed.document) || noBlock.CurrentState() != Io::Stateful::STATE_FAILED);
}

TEST(XmlPrint, NeedsNoStackForADeepTreeNorDoesACopy) {
    Document document, copy;
    Node* node = &document;
    for (unsigned i = 0; i < 200000; ++i) node = node->AppendElement("a");
    ASSERT_TRUE(copy.AppendRecursive(document.FirstNode()) && copy.ReplaceRecursive(&document));
    EXPECT_EQ(XmlText(copy, COMPACT, 0, 65536).size(), 2 * (199999u * 7 + 4));
}

} // namespace
