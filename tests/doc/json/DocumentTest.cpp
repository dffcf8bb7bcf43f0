#include "tests/doc/json/Text.h"
#include "tests/support/Heap.h"

#include <gtest/gtest.h>
#include <thread>

using Json::Array;
using Json::Document;
using Json::Object;
using Json::Value;
using JsonTest::Parse;
using JsonTest::Text;

namespace {

TEST(JsonDocument, StartsAndRestartsEmpty) {
    Document doc;
    EXPECT_TRUE(doc.Valid() && doc.IsObject() && doc.Doc() == &doc && doc.Parent() == nullptr);
    doc.Object()->Append("a", 1);
    doc.InitArray();
    doc.Array()->Append("b");
    EXPECT_EQ(Text(doc), "[\"b\"]");
    doc.InitObject();
    EXPECT_EQ(Text(doc), "{}");
    EXPECT_EQ(doc.Object()->Value(), &doc);
}

TEST(JsonDocument, ATextInThePoolIsACopyWithATerminator) {
    Document doc;
    char const text[] = "abc\0def";
    EXPECT_EQ(doc.Allocate_(text, 0).Size(), 3u); // no size: up to the NUL
    Json::String const whole = doc.Allocate_(text, 7);
    EXPECT_EQ(whole.Size(), 7u);
    EXPECT_EQ(memcmp(whole.Cstr(), text, 8), 0);
    EXPECT_NE(whole.Cstr(), text);
    Json::String const open = doc.Allocate_(nullptr, 5);
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
        for (char const* name : {"a", "b", "c", "d", "e", "f", "g", "h"})
            doc.Object()->Append(name, 1);
        EXPECT_EQ(footprint.Allocations(), 0u);
        EXPECT_EQ(footprint.SystemCalls(), 0u);
        EXPECT_TRUE(parsed && doc.Valid());
    }).join();
}

// Fills the pool up to its last bytes, so that the next block of it needs memory.
void UseUp(Document& doc) {
    Footprint const footprint;
    while (footprint.Allocations() == 0)
        (void)doc.Allocate_(16);
    (void)doc.Allocate_(4096 - 16 - 16); // the rest of that page
}

// One operation on a document with a used-up pool: it gives null, and the flag goes down, exactly when an
// allocation failed.
template<class F>
void SweepAppend(F append) {
    ForEveryAllocation([&](Heap& heap) {
        Document doc;
        Object& object = *doc.Object();
        Array& array = *object.AppendArray("l");
        object.Append("s", "some text");
        UseUp(doc);
        std::string const before = Text(doc);
        heap.Arm();
        bool const ok = append(object, array);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_EQ(doc.Valid(), !heap.Fired());
        EXPECT_EQ(Text(doc) == before, heap.Fired());
        if (!heap.Fired()) return;
        EXPECT_EQ(object.Append("x", 1), nullptr); // down until the content goes
        EXPECT_EQ(array.AppendObject(), nullptr);
        doc.InitArray();
        EXPECT_TRUE(doc.Valid());
        EXPECT_NE(doc.Array()->Append(1), nullptr);
    });
}

TEST(JsonDocument, AnAppendWithoutMemoryAppendsNothing) {
    std::string const large(5000, 'x'); // needs a block of its own
    CString const big = JsonTest::View(large);
    Document from;
    ASSERT_EQ(Parse(from, R"({"a":[1,"two",{"b":null}],"c":0.5})"), Json::CODE_OK);
    auto const sweepBoth = [&](auto const& item) {
        SweepAppend([&](Object& o, Array&) { return o.Append("n", item) != nullptr; });
        SweepAppend([&](Object&, Array& a) { return a.Append(item) != nullptr; });
    };
    sweepBoth(Json::Null);
    sweepBoth(true);
    sweepBoth(-1);
    sweepBoth(1UL);
    sweepBoth(1.5);
    sweepBoth(big);
    SweepAppend([&](Object& o, Array&) { return o.Append(big, 1) != nullptr; });
    SweepAppend([](Object& o, Array&) { return o.AppendArray("n") != nullptr; });
    SweepAppend([](Object& o, Array&) { return o.AppendObject("n") != nullptr; });
    SweepAppend([&](Object& o, Array&) { return o.AppendCopy("n", &from) != nullptr; });
    SweepAppend([](Object&, Array& a) { return a.AppendArray() != nullptr; });
    SweepAppend([](Object&, Array& a) { return a.AppendObject() != nullptr; });
    SweepAppend([&](Object&, Array& a) { return a.AppendCopy(&from) != nullptr; });
}

TEST(JsonDocument, AStringValueWithoutMemoryIsEmpty) {
    ForEveryAllocation([](Heap& heap) {
        Document doc;
        std::string const big(5000, 'x');
        heap.Arm();
        Value const value(doc, big.c_str());
        heap.Disarm();
        EXPECT_EQ(doc.Valid(), !heap.Fired());
        EXPECT_EQ(value.String().Size(), heap.Fired() ? 0u : 5000u);
    });
}

std::string LargeText() {
    std::string text = "{\"many\":{";
    for (unsigned i = 0; i < 300; ++i)
        text += (i != 0 ? ",\"name " : "\"name ") + std::to_string(i) + "\":[" + std::to_string(i) +
                ",true,\"\\n\"]";
    return text + "},\"long\":\"" + std::string(20000, 'y') + "\",\"escaped\":\"\\t" +
           std::string(9000, 'z') + "\"}";
}

TEST(JsonDocument, ParsingWithoutMemoryFailsAsSuch) {
    std::string const text = LargeText();
    ForEveryAllocation([&](Heap& heap) {
        Document doc;
        heap.Arm();
        ReturnT const code = doc.Parse(JsonTest::View(text), Document::PARSE_ANY);
        heap.Disarm();
        // A region that cannot be reserved ahead is made up for page by page, as long as there are pages.
        if (!heap.Fired() || (heap.Failures() == 1 && code.Succeeded())) {
            EXPECT_EQ(code.Code(), Json::CODE_OK);
            EXPECT_TRUE(doc.Valid());
            EXPECT_EQ(Text(doc), text);
            return;
        }
        EXPECT_TRUE(code.IsOom() && code.Failed());
        EXPECT_FALSE(doc.Valid());
        Text(doc);
        EXPECT_EQ(Parse(doc, "[1]"), Json::CODE_OK);
        EXPECT_TRUE(doc.Valid());
    });
}

TEST(JsonDocument, AScalarRootKeepsThePool) {
    Document doc;
    ASSERT_EQ(Parse(doc, "[\"kept\"]"), Json::CODE_OK);
    CString kept;
    ASSERT_TRUE(doc.Array()->Get(0, kept));
    ASSERT_EQ(Parse(doc, "\"root\""), Json::CODE_OK);
    EXPECT_EQ(kept, CString("kept"));
    EXPECT_EQ(Text(doc), "\"root\"");
    EXPECT_EQ(doc.Parent(), nullptr);
}

} // namespace
