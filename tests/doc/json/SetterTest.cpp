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
