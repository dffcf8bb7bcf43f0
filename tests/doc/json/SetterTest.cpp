#include "zeb/doc/json/Setter.h"
#include "tests/doc/json/Text.h"
#include "workbench/Heap.h"

#include <gtest/gtest.h>

using namespace Json::Setter;
using Json::Document;

namespace {

TEST(JsonSetter, EachTypeBecomesTheValueThatAnAppendMakes) {
    Document doc;
    Array made(*doc.Object()->AppendArray("made"));
    Json::Array& expected = *doc.Object()->AppendArray("expected");
    auto const expectSame = [&](auto const&... items) {
        ((made << Element(items)), ...);
        (expected.Append(items), ...);
        ((Object(*doc.Object()) << Member("m", items)), ...);
    };
    expectSame(Json::Null, true, false, "text", CString("view"), char{-1}, static_cast<unsigned char>(200),
               short{-300}, static_cast<unsigned short>(40000), -70000, 3000000000U, -5000000000L,
               5000000000UL, 127LL, ~0ULL, 1ULL << 63, 2.0, Json::KIND_INT, static_cast<signed char>(-2));
    auto const* member = doc.Object()->First()->Next()->Next();
    for (auto const *m = made.Get_()->First(), *e = expected.First(); e != nullptr;
         m = m->Next(), e = e->Next()) {
        for (Json::Value const* value : {m->Value(), member->Value()}) {
            EXPECT_EQ(JsonTest::Text(*value), JsonTest::Text(*e->Value()));
            EXPECT_TRUE(value->IsUChar() == e->Value()->IsUChar() && value->IsInt() == e->Value()->IsInt());
            EXPECT_TRUE(value->IsDouble() == e->Value()->IsDouble());
        }
        member = member->Next();
    }
    EXPECT_EQ(member, nullptr);
}

TEST(JsonSetter, AContainerThatCannotHangWhereItIsPutIsCopied) {
    Document doc, other;
    Object hung(doc), foreign(other), ring(doc);
    Array list(doc);
    hung << Member("n", 1), foreign << Member("f", 2), ring << Member("r", 3) << NArray("l", list);
    list << UObject(hung) << UObject(hung) << UObject(foreign) << UObject(ring) << UArray(list);
    Object(*doc.Object()) << NObject("ring", ring) << NObject("self", Object(*doc.Object()));
    other.InitObject();
    char const items[] = R"({"n":1},{"n":1},{"f":2})", ring0[] = R"({"r":3,"l":[)";
    std::string const before = std::string(ring0) + items + "]}", more = "," + before;
    std::string const all = std::string(ring0) + items + more + ",[" + items + more + "]]}";
    EXPECT_EQ(JsonTest::Text(doc), R"({"ring":)" + all + R"(,"self":{"ring":)" + all + "}}");
}

TEST(JsonSetter, ARecordIsWrittenWholeExactlyWhenMemoryLasts) {
    std::string const big(5000, 'x'); // needs a block of its own
    ForEveryAllocation([&](Heap& heap) {
        Document doc;
        heap.Arm();
        Object(*doc.Object()) << Member("a", big.c_str()) << Member("none", Nothing()) << Nothing()
                              << NObject("o", Object(doc) << Member("b", big.c_str()))
                              << NArray("l", Array(doc) << Element(true) << Element(Nothing())
                                                        << UObject(Object(doc))
                                                        << UArray(Array(doc) << Element(big.c_str())));
        heap.Disarm();
        EXPECT_EQ(doc.Valid(), !heap.Fired());
        std::string const text =
            R"({"a":")" + big + R"(","o":{"b":")" + big + R"("},"l":[true,{},[")" + big + R"("]]})";
        EXPECT_EQ(JsonTest::Text(doc) == text, !heap.Fired());
        std::string const before = JsonTest::Text(doc);
        if (heap.Fired()) Object(*doc.Object()) << Member("late", 1) << NArray("late", Array(doc));
        EXPECT_EQ(JsonTest::Text(doc), before);
    });
}

} // namespace
