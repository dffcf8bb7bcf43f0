#include "zeb/doc/xml/Document.h"
#include "tests/doc/json/Text.h"

#include <thread>

using namespace JsonTest;

namespace {

TEST(JsonDocument, ATextInThePoolIsACopyWithATerminator) {
    Document doc;
    char const text[] = "abc\0def";
    Json::String const whole = doc.Allocate_(text, 7), open = doc.Allocate_(nullptr, 5);
    EXPECT_EQ(doc.Allocate_(text, 0), CString("abc")); // no size: up to the NUL
    EXPECT_EQ(whole, CString(text, 7));
    EXPECT_NE(whole.Cstr(), text);
    EXPECT_EQ((std::tuple{open.Size(), open.Cstr()[5], whole.Cstr()[7]}), (std::tuple{5UL, '\0', '\0'}));
    EXPECT_EQ(doc.Allocate_(CString(text, 0)).Size(), 0u); // an empty view, whatever it points at
    EXPECT_EQ(doc.Allocate_(CString(text, 2)), CString("ab"));
    EXPECT_FALSE(doc.Allocate_("", ~0UL).Cstr() || doc.Valid());
}

TEST(JsonDocument, ASmallDocumentAsksForNoMemory) {
    // On a thread of its own, which has no memory in reserve.
    std::thread([] {
        Footprint const footprint;
        Document doc;
        char const text[] = R"({"name":"wan0","up":true,"mtu":1492,"load":0.25})";
        bool const parsed = doc.Parse(CString(text), Document::PARSE_CONTAINER).Code() == Json::CODE_OK;
        doc.InitObject();
        for (char const* name : {"a", "b", "c", "d", "e", "f", "g", "h"}) doc.Object()->Append(name, 1);
        EXPECT_EQ(footprint.Allocations() + footprint.SystemCalls(), 0u);
        EXPECT_TRUE(parsed && doc.Valid());
    }).join();
}

// Fills the pool up to its last bytes, so that the next block of it needs memory.
void UseUp(Document& doc) {
    Footprint const footprint;
    while (footprint.Allocations() == 0) (void)doc.Allocate_(16);
    (void)doc.Allocate_(4096 - 16 - 16); // the rest of that page
}

TEST(JsonDocument, AnAppendWithoutMemoryAppendsNothing) {
    std::string const large(5000, 'x'); // needs a block of its own
    CString const big = View(large);
    Parsed const from(R"({"a":[1,"two",{"b":null}],"c":0.5})");
    // clang-format off
    std::function<void*(Object&, Array&)> const operations[] = {
        [](Object& o, Array&) { return o.Append("n", -1); }, [](Object&, Array& a) { return a.Append(true); },
        [&](Object& o, Array&) { return o.Append("n", big); }, [&](Object&, Array& a) { return a.Append(big); },
        [&](Object& o, Array&) { return o.Append(big, 1); }, [](Object& o, Array&) { return o.AppendArray("n"); },
        [](Object& o, Array&) { return o.AppendObject("n"); }, [&](Object& o, Array&) { return o.AppendCopy("n", &from); },
        [](Object&, Array& a) { return a.AppendArray(); }, [](Object&, Array& a) { return a.AppendObject(); },
        [&](Object&, Array& a) { return a.AppendCopy(&from); },
        [&](Object& o, Array&) { return Value(*o.Doc(), big).String().Size() != 0 ? &o : nullptr; },
    };
    // clang-format on
    // It gives null, and the flag goes down, exactly when an allocation failed.
    for (auto const& append : operations)
        ForEveryAllocation([&](Heap& heap) {
            Document doc;
            Object& object = *doc.Object();
            Array& array = *object.AppendArray("l");
            UseUp(doc);
            bool const ok = Reported(heap, [&] { return append(object, array) != nullptr; });
            EXPECT_EQ(doc.Valid(), ok) << &append - operations;
            if (ok) return;
            EXPECT_FALSE(object.Append("x", 1) || array.AppendObject()); // until the content goes
            EXPECT_EQ(JsonText(doc), R"({"l":[]})");
            doc.InitArray();
            EXPECT_TRUE(doc.Valid() && doc.Array()->Append(1) != nullptr);
        });
}

TEST(JsonDocument, ParsingWithoutMemoryFailsAndIsReported) {
    std::string text = "{\"many\":{\"name\":0";
    for (unsigned i = 0; i < 300; ++i) text += ",\"name " + std::to_string(i) + "\":[" + std::to_string(i) + ",true,\"\\n\"]";
    text += "},\"long\":\"" + std::string(20000, 'y') + "\",\"escaped\":\"\\t" + std::string(9000, 'z') + "\",\"large\":\"" +
            std::string(PoolBase::REGION_MAX / 4 + 1, 'l') + "\"}";
    ForEveryAllocation([&](Heap& heap) {
        LogCapture log;
        Document doc;
        Json::FaultT fault;
        heap.Arm();
        ReturnT const code = doc.Parse(View(text), Document::PARSE_ANY, &fault);
        heap.Disarm();
        EXPECT_EQ(code.Succeeded(), doc.Valid());
        // A region that cannot be reserved ahead is made up for page by page, as long as there are pages.
        EXPECT_TRUE(!doc.Valid() || (JsonText(doc) == text && heap.Failures() <= 1));
        if (doc.Valid()) return;
        EXPECT_TRUE(code.IsOom() && heap.Fired() && fault.words == "out of memory" && fault.line == 1);
        EXPECT_EQ(log.Take(), LogCapture::LinesT{OUT_OF_MEMORY});
        JsonText(doc);
        EXPECT_TRUE(Parse(doc, "[1]") == Json::CODE_OK && doc.Valid());
    });
}

// A text beyond a region has a block of its own, and the rest of the region goes on.
TEST(JsonDocument, LargeTextsCostWhatTheyHold) {
    std::thread([] {
        Heap const heap;
        std::string const text = "[1,\"" + std::string(5UL << 20, 'x') + "\",2]";
        Parsed const doc("[" + text + "," + text + "," + text + "," + text + ",3]");
        EXPECT_LT(heap.LiveBytes(), 4 * text.size() + PoolBase::REGION_MAX + (64UL << 10));
    }).join();
}

TEST(JsonExport, EachMemberBecomesAnElementOrHasNoForm) {
    // What came ahead of a fault stays.
    // clang-format off
    std::tuple<char const*, uint32_t, char const*> const rows[] = {
        {R"({"a":null,"b":"t","c":true,"d":false})", 0x00380064, "DOC(E:a#0 E:b=t E:c=yes#2 E:d=no#2)"},
        {R"({"a":-1,"b":40000,"c":4294967295,"d":-9223372036854775808,"e":18446744073709551615})", 0x00380064,
         "DOC(E:a=-1#3 E:b=40000#3 E:c=4294967295#3 E:d=-9223372036854775808#3 E:e=18446744073709551615#3)"},
        {R"({"a":{"b":{"c":1},"d":{}}})", 0x00380064, "DOC(E:a#5(E:b#5(E:c=1#3) E:d#5))"}, {R"({"a":[]})", 0x00380064, "DOC"},
        {R"({"a":[null,"t",true,-5,18446744073709551615,{"b":1}]})", 0x00380064, "DOC(E:a#4(D#0) E:a=t#4(D=t) E:a=yes#4(D=yes#2) "
         "E:a=-5#4(D=-5#3) E:a=18446744073709551615#4(D=18446744073709551615#3) E:a#4(E:b=1#3))"},
        {R"({"a":1,"b":0.5,"c":2})", 0x803800CB, "DOC(E:a=1#3)"}, {R"({"a":{"b":0.5}})", 0x803800CB, "DOC(E:a#5)"},
        {R"({"a":[[1]]})", 0x803800CC, "DOC"}, {R"({"a":[1,0.5]})", 0x803800CC, "DOC(E:a=1#4(D=1#3))"}, {"[]", 0x803800CD, "DOC"},
        {R"({"a":[{"b":[[]]}]})", 0x803800CC, "DOC(E:a#4)"}, {"null", 0x803800CD, "DOC"}, {"{}", 0x00380064, "DOC"},
    };
    // clang-format on
    for (auto const& [text, code, shape] : rows) {
        Xml::Document xml;
        EXPECT_EQ(Parsed(text).Export(xml), code) << text;
        EXPECT_EQ(XmlTree(xml), shape) << text;
    }
}

TEST(JsonExport, MissingMemoryIsReported) {
    std::string const x(3000, 'x');
    Parsed const doc(R"({"a":")" + x + R"(","b":{"c":")" + x + R"("},"d":[{"e":")" + x + R"("}]})");
    ForEveryAllocation([&](Heap& heap) {
        LogCapture log;
        Xml::Document xml;
        ReturnT code = ReturnT::Oom();
        bool const ok = Reported(heap, [&] { return (code = doc.Export(xml)).Succeeded(); });
        EXPECT_TRUE(log.Has(OUT_OF_MEMORY) != ok && code.IsOom() != ok);
    });
}

} // namespace
