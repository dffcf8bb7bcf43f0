#include "zeb/doc/json/Setter.h"
#include "tests/doc/json/Text.h"

using namespace Json::Setter;
using Json::Document;

namespace {

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
    EXPECT_EQ(JsonText(doc), R"({"ring":)" + all + R"(,"self":{"ring":)" + all + "}}");
}

TEST(JsonSetter, ARecordIsWrittenWholeExactlyWhenMemoryLasts) {
    std::string const big(5000, 'x'); // needs a block of its own
    ForEveryAllocation([&](Heap& heap) {
        Document doc;
        heap.Arm();
        Object(*doc.Object()) << Member("a", big.c_str()) << Member("none", Nothing()) << Nothing()
                              << NObject("o", Object(doc) << Member("b", big.c_str()))
                              << NArray("l", Array(doc) << Element(true) << Element(Nothing()) << UObject(Object(doc))
                                                        << UArray(Array(doc) << Element(big.c_str())));
        heap.Disarm();
        std::string const text = R"({"a":")" + big + R"(","o":{"b":")" + big + R"("},"l":[true,{},[")" + big + R"("]]})";
        std::string const before = JsonText(doc);
        EXPECT_EQ(std::pair(doc.Valid(), before == text), std::pair(!heap.Fired(), !heap.Fired()));
        if (heap.Fired()) Object(*doc.Object()) << Member("late", 1) << NArray("late", Array(doc));
        EXPECT_EQ(JsonText(doc), before);
    });
}

} // namespace
