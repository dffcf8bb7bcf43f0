#include "tests/doc/json/Text.h"
#include "workbench/Heap.h"
#include "workbench/LogCapture.h"

#include <thread>

using namespace JsonTest;

namespace {

TEST(JsonDocument, ATextInThePoolIsACopyWithATerminator) {
    Document doc;
    char const text[] = "abc\0def";
    EXPECT_EQ(doc.Allocate_(text, 0).Size(), 3u); // no size: up to the NUL
    Json::String const whole = doc.Allocate_(text, 7), open = doc.Allocate_(nullptr, 5);
    EXPECT_EQ(whole.Size(), 7u);
    EXPECT_EQ(memcmp(whole.Cstr(), text, 8), 0);
    EXPECT_NE(whole.Cstr(), text);
    EXPECT_EQ(open.Size(), 5u);
    EXPECT_EQ(open.Cstr()[5], '\0');
    EXPECT_EQ(doc.Allocate_(CString(text, 0)).Size(), 0u); // an empty view, whatever it points at
    EXPECT_EQ(doc.Allocate_(CString(text, 2)), CString("ab"));
    EXPECT_EQ(doc.Allocate_("", ~0UL).Cstr(), nullptr);
    EXPECT_FALSE(doc.Valid());
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
    for (auto const& append : operations) {
        SCOPED_TRACE(&append - operations);
        ForEveryAllocation([&](Heap& heap) {
            Document doc;
            Object& object = *doc.Object();
            Array& array = *object.AppendArray("l");
            UseUp(doc);
            heap.Arm();
            bool const ok = append(object, array) != nullptr;
            heap.Disarm();
            EXPECT_EQ(ok, !heap.Fired());
            EXPECT_EQ(doc.Valid(), ok);
            if (ok) return;
            EXPECT_TRUE(object.Append("x", 1) == nullptr && !array.AppendObject()); // until the content goes
            EXPECT_EQ(Text(doc), R"({"l":[]})");
            doc.InitArray();
            EXPECT_TRUE(doc.Valid() && doc.Array()->Append(1) != nullptr);
        });
    }
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
        if (code.Succeeded()) {
            EXPECT_TRUE(Text(doc) == text && heap.Failures() <= 1);
            return;
        }
        EXPECT_TRUE(code.IsOom() && heap.Fired() && fault.words == "out of memory" && fault.line == 1);
        EXPECT_EQ(log.Take(), LogCapture::LinesT{OUT_OF_MEMORY});
        Text(doc);
        EXPECT_EQ(Parse(doc, "[1]"), Json::CODE_OK);
        EXPECT_TRUE(doc.Valid());
    });
}

// A text beyond a region has a block of its own, and the rest of the region goes on.
TEST(JsonDocument, LargeTextsCostWhatTheyHold) {
    std::thread([] {
        Heap const heap;
        std::string const text = "[1,\"" + std::string(5UL << 20, 'x') + "\",2]";
        std::string texts = "[";
        for (unsigned i = 0; i < 4; ++i) texts += text + ",";
        Parsed const doc(texts + "3]");
        EXPECT_LT(heap.LiveBytes(), 4 * text.size() + PoolBase::REGION_MAX + (64UL << 10));
    }).join();
}

} // namespace
