#include "tests/doc/xml/Trees.h"

#include <thread>

namespace {

// The bits of the flags.
constexpr unsigned NO_DATA = 1, NO_VALUES = 2, NO_ENTITIES = 8, NO_UTF8 = 16, DECLARATION = 32, COMMENTS = 64;
constexpr unsigned DOCTYPE = 128, PIS = 256, CLOSING = 512, TRIM = 1024, NORMALIZE = 2048;

TEST(XmlParse, ReadsTexts) {
    // clang-format off
    std::tuple<char const*, unsigned, char const*> const rows[] = {
        {" \r\n\t<a></a> ", 0, "DOC(E:a)"}, {"<a>1</b>", 0, "DOC(E:a=1(D=1))"},
        {"<a><b/>2<c/>3</a>", 0, "DOC(E:a=2(E:b D=2 E:c D=3))"}, {"<a>1<b/>2</a>", NO_VALUES, "DOC(E:a(D=1 E:b D=2))"},
        {"<a>1<b/>2</a>", NO_DATA, "DOC(E:a=1(E:b))"}, {"<a >1</a\n>", CLOSING, "DOC(E:a=1(D=1))"},
        {"<abc>1</a>bc></abc>", 0, nullptr}, // the closing tag is not as long as the name: text follows
        {"<a></ a>", 0, nullptr}, {"<a&b                        c='1'/>", 0, "DOC(E:a&b @c=1)"}, // reported, and goes on
        {"<aname-of-twenty-bytes>1</aname-of-twenty-bytes>", CLOSING, "DOC(E:aname-of-twenty-bytes=1(D=1))"},
        // White space.
        {"<a>  x  </a>", 0, "DOC(E:a=  x  (D=  x  ))"}, {"<a>&#32;x</a>", TRIM, "DOC(E:a= x(D= x))"},
        {"<a>  x  </a>", TRIM, "DOC(E:a=x(D=x))"}, {"<a>  </a>", 0, "DOC(E:a)"}, {"<a> \n <b/>\t</a>", 0, "DOC(E:a(E:b))"},
        {"<a> x \n\t y </a>", NORMALIZE, "DOC(E:a= x y (D= x y ))"}, {"<a b=' 1  2 '/>", NORMALIZE | TRIM, "DOC(E:a @b= 1  2 )"},
        {"<a> x \n\t y\r\n</a>", NORMALIZE | TRIM, "DOC(E:a=x y(D=x y))"}, {"<a>&#32;</a>", NORMALIZE | TRIM, "DOC(E:a(D))"},
        {"<a>&#32;</a>", TRIM, "DOC(E:a(D))"},
        // References.
        {"<a>&lt;&gt;&quot;&amp;&apos;</a>", 0, "DOC(E:a=<>\"&'(D=<>\"&'))"},
        {"<a>1&lt;2 &amp;&amp; 3&gt;2 and more text</a>", 0, "DOC(E:a=1<2 && 3>2 and more text(D=1<2 && 3>2 and more text))"},
        {"<a>&foo;&LT;&lt&;&</a>", 0, "DOC(E:a=&foo;&LT;&lt&;&(D=&foo;&LT;&lt&;&))"},
        {"<a>&#65;&#x42;&#x63;&#x6A;</a>", 0, "DOC(E:a=ABcj(D=ABcj))"},
        {"<a b='&#xe9;&#8364;&#x1F600;&#xD800;'/>", 0, "DOC(E:a @b=\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xED\xA0\x80)"},
        {"<a>&#xe9;&#x20AC;&#x110041;</a>", NO_UTF8, "DOC(E:a=\xE9\xAC\x41(D=\xE9\xAC\x41))"},
        {"<a>&#18446744073709551681;</a>", 0, "DOC(E:a=A(D=A))"}, // wraps
        {"<a>&lt;&#65 x</a>", NO_ENTITIES, "DOC(E:a=&lt;&#65 x(D=&lt;&#65 x))"},
        {"<a> &lt;  y </a>", NO_ENTITIES | TRIM, "DOC(E:a=&lt;  y(D=&lt;  y))"},
        {"<a> &lt;  y </a>", NO_ENTITIES | NORMALIZE, "DOC(E:a= &lt; y (D= &lt; y ))"},
        // Attributes.
        {"<a b = \"1\"c='\"'d=\"'\" >x</a>", 0, "DOC(E:a=x @b=1 @c=\" @d='(D=x))"},
        {"<a b='&lt;&#65;&unknown;<>/'/>", 0, "DOC(E:a @b=<A&unknown;<>/)"},
        {"<a b='&lt;' c=''/>", NO_ENTITIES, "DOC(E:a @b=&lt; @c)"},
        {"<a some-attribute-name='value of 20 and more'/>", 0, "DOC(E:a @some-attribute-name=value of 20 and more)"},
        // Declarations, instructions, comments.
        {"<?xml version='1.0'?><a/>", 0, "DOC(E:a)"}, {"<?p?><?q  r ?>", PIS, "DOC(PI:p PI:q=r )"},
        {"<?XmL version='1.0'  b='2' ?><a/>", DECLARATION, "DOC(DEC @version=1.0 @b=2 E:a)"}, {"<!DOCTYPE a><a/>", 0, "DOC(E:a)"},
        {"<a><?xml x='1'?></a>", DECLARATION, "DOC(E:a(DEC @x=1))"}, {"<?xml-style a?b?><a/>", PIS, "DOC(PI:xml-style=a?b E:a)"},
        {"<?p a > b?><?\?><a/>", 0, "DOC(E:a)"}, {"<!-- <b> - -- --><a><!--c--></a>", COMMENTS, "DOC(CO= <b> - --  E:a(CO=c))"},
        {"<a>x<!-- c -->y<!----></a>", 0, "DOC(E:a=x(D=x D=y))"}, {"<!FOO bar><a><!DOCTYPE><!></a>", DOCTYPE, "DOC(E:a)"},
        {"<a><![CDATA[ <b> ]] &lt; ]]>x<![CDATA[]]></a>", 0, "DOC(E:a=x(CD= <b> ]] &lt;  D=x CD))"}, {"\xEF\xBB\xBF", 0, "DOC"},
        {"<a><![CDATA[1]]></a>", NO_DATA, "DOC(E:a=]]>)"}, {"<!DOCTYPE\na SYSTEM 'x'><a/>", DOCTYPE, "DOC(DT=a SYSTEM 'x' E:a)"},
        {"<!DOCTYPE a [<!ELEMENT [b]> ]><a/>", DOCTYPE, nullptr}, // the first "]" ends the subset
        {"<!DOCTYPE a [<!ELEMENT b>[c] x><a/>", DOCTYPE, "DOC(DT=a [<!ELEMENT b>[c] x E:a)"},
        {"\xEF\xBB\xBF <a/>", 0, "DOC(E:a)"},
    };
    // clang-format on
    LogCapture log;
    for (auto const& [written, flags, tree] : rows)
        // In front blanks that move the text against the blocks of the scan, behind it those that complete
        // them.
        for (unsigned lead = 0; lead < 17; ++lead) {
            std::string const text = std::string(written[0] == '\xEF' ? 0 : lead, ' ') + written;
            Parsed const parsed(text, flags), longer(text + std::string(40, '\n'), flags);
            ASSERT_EQ(parsed.code == 0x00370001U, tree != nullptr) << text;
            ASSERT_EQ(longer.code.Code(), parsed.code.Code()) << text;
            ASSERT_TRUE(tree == nullptr || (parsed.Tree() == tree && longer.Tree() == tree)) << text << parsed.Tree();
        }
    EXPECT_EQ(Text(Parsed("<a>1&#0;2&#;</a>").First().Value()), std::string("1\0002\0", 4));
    // The terminator of the target takes the first byte of the value.
    EXPECT_EQ(Text(Parsed("<?a/b?>", PIS).First().Value()), std::string("\0b", 2));
}

TEST(XmlParse, RefusesTextsWithACodeAndALine) {
    // clang-format off
    std::tuple<unsigned, char const*, unsigned, std::vector<std::string>> const rows[] = {
        {1, "invalid numeric character entity", NORMALIZE | TRIM, {"<a>&#x110000;</a>", "<a b='&#1114112;'/>"}},
        {2, "unexpected end of stream", 0, {"<a>", "<a>x", "<a><b></b>"}},
        {2, "unexpected end of a stream", COMMENTS, {"<a><!-- --", "<!-->", "<!DOCTYPE a [ >"}},
        {2, "unexpected end of a stream", DOCTYPE, {"<!DOCTYPE a [ ] ", "<!DOCTYPE a[b>"}},
        {3, "unexpected end of a CDATA node", 0, {"<a><![CDATA[ ]] ></a>"}}, {10, "PI target expected", PIS, {"<?/p?>"}},
        {4, "invalid closing tag name", CLOSING, {"<a>1</b>", "<a></ab>", "<ab></a>", "<a><b></c></a>"}},
        {5, "\";\" expected", 0, {"<a>&#65</a>", "<a>&#X41;</a>", "<a>&#xg;</a>", "<a>&#.;</a>"}},
        {7, "\"=\" expected", DECLARATION, {"<?xml b>", "<a b>", "<a b 'c'/>", "<a b!='c'/>"}},
        {8, "' or \" expected", 0, {"<a b=c/>", "<a b='c", "<a b='c\"/>"}},
        {9, "\"?>\" expected", 0, {"<?xml x='1'>", "<?p "}}, {11, "node name expected", 0, {"<>", "<a><", "<a><b></b>< c/></a>"}},
        {9, "\"?>\" expected", DECLARATION | PIS, {"<?xml x='1'>", "<?p "}}, {14, "empty document", 0, {"", " \r\n\t"}},
        {12, "\">\" expected", 0, {"<a", "<a/ >", "<a =''/>", "<a></a", "<a></a b>", "<!FOO", "<a><b?</a>"}},
        {13, "\"<\" expected", NO_DATA | NO_UTF8, {"x", "<![CDATA[1]]>", "\xEF\xBB\xBF<a/>"}},
    };
    // clang-format on
    for (auto const& [code, message, flags, texts] : rows)
        for (std::string const& text : texts) {
            LogCapture log;
            for (Log::VerboseT const verbose : {Log::VERBOSE_ON, Log::VERBOSE_OFF}) {
                Parsed const parsed((code == 14 ? "" : "<z/> ") + text, flags, verbose);
                EXPECT_EQ(parsed.code.Code(), 0x80370000U + code) << text;
                EXPECT_EQ(parsed.Tree(), code == 14 ? "DOC" : "DOC(E:z)") << text;
            }
            EXPECT_EQ(log.Take(), LinesT{std::string("E Xml::Document: ") + message + "."}) << text;
        }
}

TEST(XmlParse, ReportsNamesAndDuplicatesAndGoesOn) {
    LogCapture log;
    Parsed const good("<1a b='1' b='2' \xC3\xA9='4' d&='5'><?x& ?></1a>", PIS, Log::VERBOSE_OFF);
    EXPECT_EQ(good.Tree(), "DOC(E:1a @b=1 @\xC3\xA9=4 @d&=5(PI:x&))");
    EXPECT_EQ(log.Take(), (LinesT{FAILED + "invalid ELEMENT node name: \"1a\".", "W Xml::Node: duplicate attribute: \"b\".",
                                  FAILED + "invalid attribute name: \"\xC3\xA9\".", FAILED + "invalid attribute name: \"d&\".",
                                  FAILED + "invalid PI node name: \"x&\"."}));
}

TEST(XmlParse, BoundsTheDepth) {
    auto const nested = [](unsigned depth, std::string text) {
        for (unsigned i = 0; i < depth; ++i) text = "<a>" + text + "</a>";
        return text;
    };
    LogCapture log;
    EXPECT_TRUE(Parsed(nested(129, "x")).code.Succeeded() && Parsed(nested(128, "<b/><b/>")).code.Succeeded());
    for (char const* inner : {"<b/>", "<!-- -->", "<?p?>"}) {
        EXPECT_EQ(Parsed(nested(129, inner)).code.Code(), 0x8037000FU);
        EXPECT_EQ(log.Take(), LinesT{"E Xml::Document: the maximum document depth reached."});
    }
}

TEST(XmlParse, ReplacesTheTreeByViewsOfTheTextUnlessThatIsEmpty) {
    LogCapture log;
    Parsed parsed("<abc def='ghi'>text<j></j></abc><k/>");
    Node const& abc = parsed.First();
    Attribute const& def = *abc.FirstAttribute();
    for (Xml::String const* text : {&abc.Name(), &abc.Value(), &def.Name(), &def.Value(), &abc.LastNode()->Name()})
        EXPECT_TRUE(text->Cstr() > parsed.buffer.get() && text->Cstr() < parsed.buffer.get() + 37);
    parsed.document.AppendAttribute("own", "1");
    char blank[] = " \n ", other[] = "<c/>";
    for (char* text : {blank, static_cast<char*>(nullptr)})
        EXPECT_EQ(parsed.document.Parse(text, Document::PARSE_DEFAULT, Log::VERBOSE_ON).Code(), 0x8037000EU);
    EXPECT_EQ(parsed.Tree(), "DOC @own=1(E:abc=text @def=ghi(D=text E:j) E:k)");
    ASSERT_TRUE(parsed.document.Parse(other, Document::PARSE_DEFAULT, Log::VERBOSE_ON).Succeeded());
    EXPECT_EQ(parsed.Tree(), "DOC(E:c)");
}

TEST(XmlParse, SaysExactlyWhenMemoryRanOut) {
    auto const flags = static_cast<Document::ParseFlagsT>(DECLARATION | COMMENTS | DOCTYPE | PIS);
    for (std::string const node : {"<a/>", "<?xml a='1'?>", "<?p q?>", "<!--c-->", "<!DOCTYPE a>", "<![CDATA[x]]>"})
        SweepDocument([&](Document& document) {
            LogCapture log;
            std::string text = node;
            ReturnT const code = document.Parse(text.data(), flags, Log::VERBOSE_ON);
            EXPECT_TRUE(code.IsOom() == code.Failed()) << node;
            EXPECT_EQ(log.Has("C Xml::Document: out of memory [0xcffe****]."), code.Failed());
            return code.Succeeded();
        });
}

TEST(XmlParse, TakesPagesWhenNoRegionCanBeHad) {
    std::string text = "<a>", tree = "DOC(E:a";
    for (unsigned i = 0; i < 2000; ++i) text += "<b c='1'>2</b>", tree += i == 0 ? "(E:b=2 @c=1(D=2)" : " E:b=2 @c=1(D=2)";
    unsigned failed = 0;
    auto const parse = [&](Heap& heap) {
        LogCapture const log;
        Document document;
        std::string copy = text + "</a>";
        heap.Arm();
        ReturnT const code = document.Parse(copy.data(), Document::PARSE_DEFAULT, Log::VERBOSE_ON);
        heap.Disarm();
        EXPECT_EQ(code.Succeeded(), document.Valid());
        EXPECT_TRUE(document.Valid() ? XmlTree(document) == tree + "))" : code.IsOom() && heap.Fired());
        failed += code.Failed() ? 1 : 0;
    };
    // A thread of its own for each round: threads keep a region.
    ForEveryAllocation([&](Heap& heap) { std::thread(parse, std::ref(heap)).join(); }, Heap::ScopeT::PROCESS);
    EXPECT_GT(failed, 2u);
}

} // namespace
