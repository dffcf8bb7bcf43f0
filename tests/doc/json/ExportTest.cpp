#include "tests/doc/json/Text.h"
#include "workbench/Heap.h"
#include "workbench/LogCapture.h"
#include "zeb/doc/xml/Document.h"

using namespace JsonTest;

namespace {

// "type:name=value{children}" of each child.
std::string Shape(Xml::Node const& node) {
    std::string text;
    for (Xml::Node const* child = node.FirstNode(); child != nullptr; child = child->NextSibling()) {
        text += std::to_string(child->DataType()) + ':' + child->Name().Cstr() + '=' + child->Value().Cstr();
        if (child->FirstNode() != nullptr) text += '{' + Shape(*child) + '}';
        text += ' ';
    }
    return text;
}

TEST(JsonExport, EachMemberBecomesAnElementOrHasNoForm) {
    struct {
        char const* text;
        char const* shape; // what came ahead of a fault stays
        uint32_t code = 0x00380064;
        // clang-format off
    } const rows[] = {
        {"{}", ""}, {R"({"a":null,"b":"t","c":true,"d":false})", "0:a= 1:b=t 2:c=yes 2:d=no "},
        {R"({"a":-1,"b":40000,"c":4294967295,"d":-9223372036854775808,"e":18446744073709551615})",
         "3:a=-1 3:b=40000 3:c=4294967295 3:d=-9223372036854775808 3:e=18446744073709551615 "},
        {R"({"a":{"b":{"c":1},"d":{}}})", "5:a={5:b={3:c=1 } 5:d= } "}, {R"({"a":[]})", ""},
        {R"({"a":[null,"t",true,-5,18446744073709551615,{"b":1}]})",
         "4:a={0:= } 4:a=t{1:=t } 4:a=yes{2:=yes } 4:a=-5{3:=-5 } "
         "4:a=18446744073709551615{3:=18446744073709551615 } 4:a={3:b=1 } "},
        {R"({"a":1,"b":0.5,"c":2})", "3:a=1 ", 0x803800CB}, {R"({"a":{"b":0.5}})", "5:a= ", 0x803800CB},
        {R"({"a":[[1]]})", "", 0x803800CC}, {R"({"a":[1,0.5]})", "4:a=1{3:=1 } ", 0x803800CC},
        {R"({"a":[{"b":[[]]}]})", "4:a= ", 0x803800CC}, {"[]", "", 0x803800CD}, {"null", "", 0x803800CD},
    };
    // clang-format on
    for (auto const& row : rows) {
        Xml::Document xml;
        EXPECT_EQ(Parsed(row.text).Export(xml), row.code) << row.text;
        EXPECT_EQ(Shape(xml), row.shape) << row.text;
    }
}

TEST(JsonExport, MissingMemoryIsReported) {
    std::string const x(3000, 'x');
    Parsed const doc(R"({"a":")" + x + R"(","b":{"c":")" + x + R"("},"d":[{"e":")" + x + R"("}]})");
    ForEveryAllocation([&](Heap& heap) {
        LogCapture log;
        Xml::Document xml;
        heap.Arm();
        ReturnT const code = doc.Export(xml);
        heap.Disarm();
        EXPECT_EQ(code.IsOom() && code.Failed(), heap.Fired());
        EXPECT_EQ(log.Has(OUT_OF_MEMORY), heap.Fired());
    });
}

} // namespace
