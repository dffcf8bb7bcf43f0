#include "tests/doc/xml/Trees.h"
#include "tests/support/Heap.h"
#include "tests/support/LogCapture.h"

#include <thread>

using Xml::Document;
using Xml::Node;
using LinesT = LogCapture::LinesT;

namespace {

constexpr unsigned NO_DATA = Document::PARSE_NO_DATA_NODES;
constexpr unsigned NO_VALUES = Document::PARSE_NO_ELEMENT_VALUES;
constexpr unsigned NO_ENTITIES = Document::PARSE_NO_ENTITIES;
constexpr unsigned NO_UTF8 = Document::PARSE_NO_UTF8;
constexpr unsigned DECLARATION = Document::PARSE_DECLARATION_NODE;
constexpr unsigned COMMENTS = Document::PARSE_COMMENT_NODES;
constexpr unsigned DOCTYPE = Document::PARSE_DOCTYPE_NODE;
constexpr unsigned PIS = Document::PARSE_PI_NODES;
constexpr unsigned CLOSING = Document::PARSE_VALIDATE_CLOSING_TAGS;
constexpr unsigned TRIM = Document::PARSE_TRIM_WHITESPACE;
constexpr unsigned NORMALIZE = Document::PARSE_NORMALIZE_WHITESPACE;

TEST(XmlParse, ReadsTexts) {
    struct {
        char const* text;
        unsigned flags;
        char const* tree;
    } const rows[] = {
        {"<a/>", 0, "DOC(E:a)"},
        {" \r\n\t<a></a> ", 0, "DOC(E:a)"},
        {"<a/><b/>\n<c/>", 0, "DOC(E:a E:b E:c)"},
        {"<a>1<b/>2</a>", 0, "DOC(E:a=1(D=1 E:b D=2))"},
        {"<a><b/>2<c/>3</a>", 0, "DOC(E:a=2(E:b D=2 E:c D=3))"},
        {"<a><b><c>x</c></b><d><e/></d></a>", 0, "DOC(E:a(E:b(E:c=x(D=x)) E:d(E:e)))"},
        {"<a>1<b/>2</a>", NO_DATA, "DOC(E:a=1(E:b))"},
        {"<a>1<b/>2</a>", NO_VALUES, "DOC(E:a(D=1 E:b D=2))"},
        {"<a>1</a>", NO_DATA | NO_VALUES, "DOC(E:a)"},
        {"<a >1</a\n>", CLOSING, "DOC(E:a=1(D=1))"},
        {"<a>1</b>", 0, "DOC(E:a=1(D=1))"},
        {"<abc>1</a>bc></abc>", 0, nullptr}, // the closing tag is not as long as the name: text follows
        {"<a></ a>", 0, nullptr},
        {"<aname-of-twenty-bytes>1</aname-of-twenty-bytes>", CLOSING, "DOC(E:aname-of-twenty-bytes=1(D=1))"},
        // White space.
        {"<a>  x  </a>", 0, "DOC(E:a=  x  (D=  x  ))"},
        {"<a>  x  </a>", TRIM, "DOC(E:a=x(D=x))"},
        {"<a>  </a>", 0, "DOC(E:a)"},
        {"<a> \n <b/>\t</a>", 0, "DOC(E:a(E:b))"},
        {"<a> x \n\t y </a>", NORMALIZE, "DOC(E:a= x y (D= x y ))"},
        {"<a> x \n\t y\r\n</a>", NORMALIZE | TRIM, "DOC(E:a=x y(D=x y))"},
        {"<a>x y</a>", NORMALIZE, "DOC(E:a=x y(D=x y))"},
        {"<a>&#32;</a>", TRIM, "DOC(E:a(D))"},
        {"<a>&#32;x</a>", TRIM, "DOC(E:a= x(D= x))"},
        {"<a b=' 1  2 '/>", NORMALIZE | TRIM, "DOC(E:a @b= 1  2 )"},
        // References.
        {"<a>&lt;&gt;&quot;&amp;&apos;</a>", 0, "DOC(E:a=<>\"&'(D=<>\"&'))"},
        {"<a>1&lt;2 &amp;&amp; 3&gt;2 and more text behind it</a>", 0,
         "DOC(E:a=1<2 && 3>2 and more text behind it(D=1<2 && 3>2 and more text behind it))"},
        {"<a>&foo;&LT;&lt&;&</a>", 0, "DOC(E:a=&foo;&LT;&lt&;&(D=&foo;&LT;&lt&;&))"},
        {"<a>&#65;&#x42;&#x63;&#x6A;</a>", 0, "DOC(E:a=ABcj(D=ABcj))"},
        {"<a>&#xe9;&#8364;&#x1F600;&#xD800;</a>", 0,
         "DOC(E:a=\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xED\xA0\x80(D="
         "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xED\xA0\x80))"},
        {"<a>&#xe9;&#x20AC;&#x110041;</a>", NO_UTF8, "DOC(E:a=\xE9\xAC\x41(D=\xE9\xAC\x41))"},
        {"<a>&#18446744073709551681;</a>", 0, "DOC(E:a=A(D=A))"}, // wraps
        {"<a>&lt;&#65 x</a>", NO_ENTITIES, "DOC(E:a=&lt;&#65 x(D=&lt;&#65 x))"},
        {"<a> &lt;  y </a>", NO_ENTITIES | TRIM, "DOC(E:a=&lt;  y(D=&lt;  y))"},
        {"<a> &lt;  y </a>", NO_ENTITIES | NORMALIZE, "DOC(E:a= &lt; y (D= &lt; y ))"},
        // Attributes.
        {"<a b=\"1\" c='2'/>", 0, "DOC(E:a @b=1 @c=2)"},
        {"<a b = \"1\"c='\"'d=\"'\" >x</a>", 0, "DOC(E:a=x @b=1 @c=\" @d='(D=x))"},
        {"<a b='&lt;&#65;&unknown;<>/'/>", 0, "DOC(E:a @b=<A&unknown;<>/)"},
        {"<a b='&lt;' c=''/>", NO_ENTITIES, "DOC(E:a @b=&lt; @c=)"},
        {"<a some-attribute-name='a value of more than sixteen bytes'/>", 0,
         "DOC(E:a @some-attribute-name=a value of more than sixteen bytes)"},
        // Declarations, instructions, comments.
        {"<?xml version='1.0'?><a/>", 0, "DOC(E:a)"},
        {"<?XmL version='1.0'  encoding='utf-8' ?><a/>", DECLARATION,
         "DOC(DEC @version=1.0 @encoding=utf-8 E:a)"},
        {"<a><?xml x='1'?></a>", DECLARATION, "DOC(E:a(DEC @x=1))"},
        {"<?xml-style a?b?><a/>", PIS, "DOC(PI:xml-style=a?b E:a)"},
        {"<?p?><?q  r ?>", PIS, "DOC(PI:p PI:q=r )"},
        {"<?p a > b?><?"
         "?><a/>",
         0, "DOC(E:a)"},
        {"<a>x<!-- c -->y<!----></a>", 0, "DOC(E:a=x(D=x D=y))"},
        {"<!-- <b> - -- --><a><!--c--></a>", COMMENTS, "DOC(CO= <b> - --  E:a(CO=c))"},
        {"<a><![CDATA[ <b> ]] &lt; ]]>x<![CDATA[]]></a>", 0, "DOC(E:a=x(CD= <b> ]] &lt;  D=x CD))"},
        {"<a><![CDATA[1]]></a>", NO_DATA, "DOC(E:a=]]>)"},
        {"<!DOCTYPE a><a/>", 0, "DOC(E:a)"},
        {"<!DOCTYPE a [<!ELEMENT [b]> ]><a/>", DOCTYPE, nullptr}, // the first "]" ends the subset
        {"<!DOCTYPE a [<!ELEMENT b>[c] x><a/>", DOCTYPE, "DOC(DT=a [<!ELEMENT b>[c] x E:a)"},
        {"<!DOCTYPE\na SYSTEM 'x'><a/>", DOCTYPE, "DOC(DT=a SYSTEM 'x' E:a)"},
        {"<!FOO bar><a><!DOCTYPE><!></a>", DOCTYPE, "DOC(E:a)"},
        {"\xEF\xBB\xBF <a/>", 0, "DOC(E:a)"},
        {"\xEF\xBB\xBF", 0, "DOC"},
    };
    LogCapture log;
    for (auto const& row : rows) {
        // In front blanks that move the text against the blocks of the scan, behind it those that complete
        // them.
        for (unsigned lead = 0; lead < 17; ++lead) {
            std::string const text = std::string(row.text[0] == '\xEF' ? 0 : lead, ' ') + row.text;
            Parsed const parsed(text, row.flags);
            Parsed const longer(text + std::string(40, '\n'), row.flags);
            ASSERT_EQ(parsed.code.Succeeded(), row.tree != nullptr) << text;
            ASSERT_EQ(longer.code.Code(), parsed.code.Code()) << text;
            if (row.tree == nullptr) continue;
            ASSERT_EQ(parsed.code.Code(), 0x00370001U);
            ASSERT_EQ(parsed.Tree(), row.tree) << text;
            ASSERT_EQ(longer.Tree(), parsed.Tree()) << text;
        }
    }
    Parsed const zero("<a>1&#0;2&#;</a>");
    EXPECT_EQ(Text(zero.document.FirstNode()->Value()), std::string("1\0002\0", 4));
    Parsed const target("<?a/b?>", PIS); // the terminator of the target takes the first byte of the value
    EXPECT_EQ(Text(target.document.FirstNode()->Value()), std::string("\0b", 2));
}

TEST(XmlParse, RefusesTextsWithACodeAndALine) {
    struct {
        char const* text;
        unsigned flags;
        unsigned code;
        char const* message;
        char const* tree;
    } const rows[] = {
        {"<a>&#x110000;</a>", 0, 0x80370001, "invalid numeric character entity", "DOC"},
        {"<a b='&#1114112;'/>", 0, 0x80370001, "invalid numeric character entity", "DOC"},
        {"<z/><a>", 0, 0x80370002, "unexpected end of stream", "DOC(E:z)"},
        {"<a>x", 0, 0x80370002, "unexpected end of stream", "DOC"},
        {"<a><b></b>", 0, 0x80370002, "unexpected end of stream", "DOC"},
        {"<a><!-- --", COMMENTS, 0x80370002, "unexpected end of a stream", "DOC"},
        {"<!-->", 0, 0x80370002, "unexpected end of a stream", "DOC"},
        {"<!DOCTYPE a [ >", 0, 0x80370002, "unexpected end of a stream", "DOC"},
        {"<!DOCTYPE a [ ] ", DOCTYPE, 0x80370002, "unexpected end of a stream", "DOC"},
        {"<a><![CDATA[ ]] ></a>", 0, 0x80370003, "unexpected end of a CDATA node", "DOC"},
        {"<a>1</b>", CLOSING, 0x80370004, "invalid closing tag name", "DOC"},
        {"<a></ab>", CLOSING, 0x80370004, "invalid closing tag name", "DOC"},
        {"<ab></a>", CLOSING, 0x80370004, "invalid closing tag name", "DOC"},
        {"<a>&#65</a>", 0, 0x80370005, "\";\" expected", "DOC"},
        {"<a>&#X41;</a>", 0, 0x80370005, "\";\" expected", "DOC"},
        {"<a>&#xg;</a>", 0, 0x80370005, "\";\" expected", "DOC"},
        {"<a b>", 0, 0x80370007, "\"=\" expected", "DOC"},
        {"<a b 'c'/>", 0, 0x80370007, "\"=\" expected", "DOC"},
        {"<a b=c/>", 0, 0x80370008, "' or \" expected", "DOC"},
        {"<a b='c", 0, 0x80370008, "' or \" expected", "DOC"},
        {"<a b='c\"/>", 0, 0x80370008, "' or \" expected", "DOC"},
        {"<?xml x='1'>", 0, 0x80370009, "\"?>\" expected", "DOC"},
        {"<?xml x='1'>", DECLARATION, 0x80370009, "\"?>\" expected", "DOC"},
        {"<?p ", PIS, 0x80370009, "\"?>\" expected", "DOC"},
        {"<?"
         "?>",
         PIS, 0x8037000A, "PI target expected", "DOC"},
        {"<>", 0, 0x8037000B, "node name expected", "DOC"},
        {"<a><", 0, 0x8037000B, "node name expected", "DOC"},
        {"<a><b></b>< c/></a>", 0, 0x8037000B, "node name expected", "DOC"},
        {"<a", 0, 0x8037000C, "\">\" expected", "DOC"},
        {"<a/ >", 0, 0x8037000C, "\">\" expected", "DOC"},
        {"<a =''/>", 0, 0x8037000C, "\">\" expected", "DOC"},
        {"<a></a", 0, 0x8037000C, "\">\" expected", "DOC"},
        {"<a></a b>", 0, 0x8037000C, "\">\" expected", "DOC"},
        {"<!FOO", 0, 0x8037000C, "\">\" expected", "DOC"},
        {"x", 0, 0x8037000D, "\"<\" expected", "DOC"},
        {"<a/>x<b/>", 0, 0x8037000D, "\"<\" expected", "DOC(E:a)"},
        {"<![CDATA[1]]>", NO_DATA, 0x8037000D, "\"<\" expected", "DOC"},
        {"\xEF\xBB\xBF<a/>", NO_UTF8, 0x8037000D, "\"<\" expected", "DOC"},
    };
    for (auto const& row : rows) {
        LogCapture log;
        Parsed const parsed(row.text, row.flags);
        EXPECT_EQ(parsed.code.Code(), row.code) << row.text;
        EXPECT_EQ(parsed.Tree(), row.tree) << row.text;
        EXPECT_EQ(log.Take(), LinesT{std::string("E Xml::Document: ") + row.message + "."}) << row.text;
        EXPECT_EQ(Parsed(row.text, row.flags, Log::VERBOSE_OFF).code.Code(), row.code);
        EXPECT_EQ(log.Take(), LinesT{});
    }
}

TEST(XmlParse, ReportsNamesAndDuplicatesAndGoesOn) {
    LogCapture log;
    Parsed const parsed("<1a b='1' b='2' c!='3' \xC3\xA9='4'><?x y/z?></1a>", PIS, Log::VERBOSE_OFF);
    // "!" ends a name, and no attribute begins with it.
    EXPECT_EQ(parsed.code.Code(), 0x80370007U);
    log.Clear();
    Parsed const good("<1a b='1' b='2' \xC3\xA9='4' d&='5'><?x& ?></1a>", PIS, Log::VERBOSE_OFF);
    EXPECT_EQ(good.Tree(), "DOC(E:1a @b=1 @\xC3\xA9=4 @d&=5(PI:x&))");
    EXPECT_EQ(log.Take(),
              (LinesT{"C Xml::Document: system failed [0xcffd****], invalid ELEMENT node name: \"1a\".",
                      "W Xml::Node: duplicate attribute: \"b\".",
                      "C Xml::Document: system failed [0xcffd****], invalid attribute name: \"\xC3\xA9\".",
                      "C Xml::Document: system failed [0xcffd****], invalid attribute name: \"d&\".",
                      "C Xml::Document: system failed [0xcffd****], invalid PI node name: \"x&\"."}));
}

TEST(XmlParse, BoundsTheDepth) {
    auto const nested = [](unsigned depth, std::string const& inner) {
        std::string text;
        for (unsigned i = 0; i < depth; ++i)
            text += "<a>";
        text += inner;
        for (unsigned i = 0; i < depth; ++i)
            text += "</a>";
        return text;
    };
    LogCapture log;
    EXPECT_TRUE(Parsed(nested(129, "x")).code.Succeeded());
    EXPECT_TRUE(Parsed(nested(128, "<b/><b/>")).code.Succeeded());
    for (char const* inner : {"<b/>", "<!-- -->", "<?p?>"}) {
        EXPECT_EQ(Parsed(nested(129, inner)).code.Code(), 0x8037000FU);
        EXPECT_EQ(log.Take(), LinesT{"E Xml::Document: the maximum document depth reached."});
    }
}

TEST(XmlParse, TerminatesNamesAndValuesInPlace) {
    Parsed const parsed("<abc def='ghi'>text<j></j></abc><k/>", TRIM);
    Node const& element = *parsed.document.FirstNode();
    for (Xml::String const* text : {&element.Name(), &element.Value(), &element.FirstAttribute()->Name(),
                                    &element.FirstAttribute()->Value(), &element.LastNode()->Name()}) {
        EXPECT_EQ(text->Cstr()[text->Size()], '\0');
        EXPECT_TRUE(text->Cstr() >= parsed.buffer.get() && text->Cstr() < parsed.buffer.get() + 37);
    }
}

TEST(XmlParse, KeepsTheTreeForAnEmptyTextAndReplacesItOtherwise) {
    LogCapture log;
    char text[] = "<a b='1'/>";
    char blank[] = " \n ";
    char other[] = "<c/>";
    Document document;
    document.AppendAttribute("own", "1");
    ASSERT_TRUE(document.Parse(text, Document::PARSE_DEFAULT, Log::VERBOSE_ON).Succeeded());
    EXPECT_EQ(document.Parse(blank, Document::PARSE_DEFAULT, Log::VERBOSE_ON).Code(), 0x8037000EU);
    EXPECT_EQ(document.Parse(nullptr, Document::PARSE_DEFAULT, Log::VERBOSE_ON).Code(), 0x8037000EU);
    EXPECT_EQ(log.Take(), (LinesT(2, "E Xml::Document: empty document.")));
    EXPECT_EQ(Dump(document), "DOC(E:a @b=1)");
    ASSERT_TRUE(document.Parse(other, Document::PARSE_DEFAULT, Log::VERBOSE_ON).Succeeded());
    EXPECT_EQ(Dump(document), "DOC(E:c)");
}

TEST(XmlParse, GivesBackWhatWasPrinted) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        Document document;
        RandomTree(seed).Fill(document, 5);
        for (Xml::PrintFlagsT const flags : {Xml::PRINT_COMPACT, Xml::PRINT_COMPACT | Xml::PRINT_ASCII,
                                             Xml::PRINT_COMPACT | Xml::PRINT_NO_EMPTY_TAG}) {
            std::string const text = Printed(document, flags, 0, 1 + seed);
            Parsed const parsed(text + " ", COMMENTS | PIS | CLOSING);
            ASSERT_TRUE(parsed.code.Succeeded() || document.FirstNode() == nullptr) << text;
            ASSERT_EQ(parsed.Tree(), Dump(document)) << text;
            ASSERT_EQ(Printed(parsed.document, flags), text);
        }
    }
}

TEST(XmlParse, SurvivesDamagedTexts) {
    LogCapture log;
    std::mt19937 random(9);
    Document document;
    RandomTree(12).Fill(document, 5);
    std::string const good = Printed(document) + "<?xml a='1'?><!DOCTYPE a[b]><c>&#x41;&amp;</c>";
    std::string const alphabet = "<>/?!='\"&#;[]-x \n";
    for (unsigned round = 0; round < 4000; ++round) {
        std::string text = good;
        for (unsigned i = random() % 8; i != 0; --i)
            text[random() % text.size()] = alphabet[random() % alphabet.size()];
        if (random() % 4 == 0) text.resize(random() % text.size());
        Parsed const parsed(text, random() % 4096, Log::VERBOSE_OFF);
        EXPECT_EQ(parsed.Tree().find('!' + std::string("link")), std::string::npos);
    }
}

TEST(XmlParse, SaysExactlyWhenMemoryRanOut) {
    // One node of each kind; the blocks before leave room for none of them.
    for (char const* text :
         {"<a/>", "<?xml a='1'?>", "<?p q?>", "<!--c-->", "<!DOCTYPE a>", "<![CDATA[x]]>"}) {
        ForEveryAllocation([&](Heap& heap) {
            LogCapture log;
            Document document;
            UseInlineBlock(document);
            std::string copy = text;
            heap.Arm();
            ReturnT const code = document.Parse(
                copy.data(), static_cast<Document::ParseFlagsT>(DECLARATION | COMMENTS | DOCTYPE | PIS),
                Log::VERBOSE_ON);
            heap.Disarm();
            EXPECT_EQ(code.IsOom(), heap.Fired()) << text;
            EXPECT_EQ(code.Failed(), heap.Fired()) << text;
            EXPECT_EQ(document.Valid(), !heap.Fired());
            EXPECT_EQ(log.Take(),
                      heap.Fired() ? LinesT{"C Xml::Document: out of memory [0xcffe****]."} : LinesT{});
        });
    }
    // A long text: when the region cannot be had, pages serve.
    std::string text = "<a>";
    std::string tree = "DOC(E:a(";
    for (unsigned i = 0; i < 2000; ++i) {
        text += "<b c='1'>2</b>";
        tree += std::string(i == 0 ? "" : " ") + "E:b=2 @c=1(D=2)";
    }
    text += "</a>";
    tree += "))";
    unsigned failed = 0;
    auto const parse = [&](Heap& heap) {
        LogCapture log;
        Document document;
        std::string copy = text;
        heap.Arm();
        ReturnT const code = document.Parse(copy.data(), Document::PARSE_DEFAULT, Log::VERBOSE_ON);
        heap.Disarm();
        EXPECT_TRUE(code.Succeeded() || (code.IsOom() && heap.Fired()));
        EXPECT_EQ(code.Succeeded(), document.Valid());
        EXPECT_TRUE(code.Failed() || Dump(document) == tree);
        failed += code.Failed() ? 1 : 0;
    };
    // A thread of its own for each round: threads keep a region.
    ForEveryAllocation([&](Heap& heap) { std::thread(parse, std::ref(heap)).join(); }, Heap::ScopeT::PROCESS);
    EXPECT_GT(failed, 2u);
}

} // namespace
