#include "tests/doc/json/Text.h"
#include "tests/support/Heap.h"
#include "zeb/doc/xml/Document.h"

#include <gtest/gtest.h>

using Json::Document;

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

uint32_t Export(char const* text, Xml::Document& xml) {
    Document doc;
    EXPECT_EQ(JsonTest::Parse(doc, text), Json::CODE_OK);
    return doc.Export(xml).Code();
}

TEST(JsonExport, EachMemberBecomesAnElement) {
    struct Row {
        char const* text;
        char const* shape;
    };
    using enum Xml::Base::DataTypeT;
    std::string const null = std::to_string(Xml::Base::DATA_NULL) + ':';
    std::string const string = std::to_string(Xml::Base::DATA_STRING) + ':';
    std::string const flag = std::to_string(Xml::Base::DATA_BOOL) + ':';
    std::string const number = std::to_string(Xml::Base::DATA_NUMBER) + ':';
    std::string const array = std::to_string(Xml::Base::DATA_ARRAY) + ':';
    std::string const object = std::to_string(Xml::Base::DATA_OBJECT) + ':';
    std::pair<char const*, std::string> const rows[] = {
        {"{}", ""},
        {R"({"a":null,"b":"t","c":true,"d":false})",
         null + "a= " + string + "b=t " + flag + "c=yes " + flag + "d=no "},
        {R"({"a":-1,"b":40000,"c":4294967295,"d":-9223372036854775808,"e":18446744073709551615})",
         number + "a=-1 " + number + "b=40000 " + number + "c=4294967295 " + number +
             "d=-9223372036854775808 " + number + "e=18446744073709551615 "},
        {R"({"a":{"b":{"c":1},"d":{}}})",
         object + "a={" + object + "b={" + number + "c=1 } " + object + "d= } "},
        {R"({"a":[]})", ""},
        {R"({"a":[null,"t",true,-5,18446744073709551615,{"b":1}]})",
         array + "a={" + null + "= } " + array + "a=t{" + string + "=t } " + array + "a=yes{" + flag +
             "=yes } " + array + "a=-5{" + number + "=-5 } " + array + "a=18446744073709551615{" + number +
             "=18446744073709551615 } " + array + "a={" + number + "b=1 } "},
    };
    for (auto const& [text, shape] : rows) {
        Xml::Document xml;
        EXPECT_EQ(Export(text, xml), 0x00380064u);
        EXPECT_EQ(Shape(xml), shape) << text;
    }
}

TEST(JsonExport, RefusesWhatHasNoForm) {
    std::pair<char const*, uint32_t> const rows[] = {
        {R"({"a":1.5})", 0x803800CB},
        {R"({"a":{"b":0.5}})", 0x803800CB},
        {R"({"a":[[1]]})", 0x803800CC},
        {R"({"a":[1,0.5]})", 0x803800CC},
        {R"({"a":[{"b":[[]]}]})", 0x803800CC},
        {"[]", 0x803800CD},
        {"null", 0x803800CD},
    };
    for (auto const& [text, code] : rows) {
        Xml::Document xml;
        EXPECT_EQ(Export(text, xml), code) << text;
    }
    Xml::Document xml;
    EXPECT_EQ(Export(R"({"a":1,"b":0.5,"c":2})", xml), 0x803800CBu);
    EXPECT_EQ(xml.FirstNode(), xml.LastNode()); // what came ahead of the fault stays
}

TEST(JsonExport, MissingMemoryIsReported) {
    std::string const text = R"({"a":")" + std::string(3000, 'x') + R"(","b":{"c":")" +
                             std::string(3000, 'y') + R"("},"d":[{"e":")" + std::string(3000, 'z') +
                             R"("}]})";
    Document doc;
    ASSERT_EQ(JsonTest::Parse(doc, text), Json::CODE_OK);
    ForEveryAllocation([&](Heap& heap) {
        Xml::Document xml;
        heap.Arm();
        ReturnT const code = doc.Export(xml);
        heap.Disarm();
        EXPECT_EQ(code.Succeeded(), !heap.Fired());
        EXPECT_EQ(code.IsOom(), heap.Fired());
    });
}

} // namespace
