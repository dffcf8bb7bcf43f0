#include "tests/doc/json/Text.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

using Json::Array;
using Json::Document;
using Json::Object;
using Json::Value;
using JsonTest::Text;

namespace {

// One of everything that can be appended, by a function that appends to what it likes.
template<class F>
void AppendAll(F append) {
    append(Json::Null);
    append(true);
    append("text");
    append(CString("view", 3));
    append(static_cast<char const*>(nullptr));
    append('\x05');
    append(static_cast<unsigned char>(200));
    append(static_cast<short>(-300));
    append(static_cast<unsigned short>(40000));
    append(-70000);
    append(3000000000U);
    append(-5000000000L);
    append(5000000000UL);
    append(-1LL);
    append(18446744073709551615ULL);
    append(2.5);
}

TEST(JsonArray, KeepsWhatIsAppendedInOrder) {
    Document doc;
    doc.InitArray();
    Array& array = *doc.Array();
    AppendAll([&](auto const& item) {
        Value* const value = array.Append(item);
        ASSERT_TRUE(value != nullptr && value->Parent() == &doc && array.Last()->Value() == value);
    });
    EXPECT_EQ(array.AppendArray()->Value()->Parent(), &doc);
    Object* const object = array.AppendObject();
    EXPECT_EQ(object, array.Last()->Value()->Object());
    EXPECT_EQ(Text(doc), R"([null,true,"text","vie","",5,200,-300,40000,-70000,3000000000,-5000000000,)"
                         R"(5000000000,-1,18446744073709551615,2.5,[],{}])");
    unsigned long index = 0;
    for (Array::Element* element = array.First(); element != nullptr; element = element->Next(), ++index) {
        EXPECT_EQ(array.Get(index), element);
        EXPECT_EQ(element->Next() != nullptr ? element->Next()->Prev() : array.Last(), element);
    }
    EXPECT_EQ(array.Get(index), nullptr);
    EXPECT_TRUE(array.IsNull(0) && !array.IsNull(1) && !array.IsNull(index));
}

TEST(JsonObject, KeepsWhatIsAppendedInOrder) {
    Document doc;
    Object& object = *doc.Object();
    char name[] = "a";
    AppendAll([&](auto const& item) {
        Value* const value = object.Append(name, item);
        ASSERT_TRUE(value != nullptr && value->Parent() == &doc && object.Last()->Value() == value);
        EXPECT_EQ(object.Get(name), object.Last());
        ++name[0];
    });
    Array* const array = object.AppendArray("");
    EXPECT_EQ(array->Value(), object.Last()->Value());
    EXPECT_EQ(object.AppendObject("obj")->Doc(), &doc);
    EXPECT_EQ(Text(doc), R"({"a":null,"b":true,"c":"text","d":"vie","e":"","f":5,"g":200,"h":-300,"i":40000,)"
                         R"("j":-70000,"k":3000000000,"l":-5000000000,"m":5000000000,"n":-1,)"
                         R"("o":18446744073709551615,"p":2.5,"":[],"obj":{}})");
    EXPECT_EQ(object.Get("f")->Name(), CString("f"));
    EXPECT_EQ(object.Get("B"), nullptr);
    EXPECT_EQ(object.Get(CString::IgnoreCase("B")), object.First()->Next());
    EXPECT_TRUE(object.IsNull("a") && !object.IsNull("b") && !object.IsNull("zz"));
}

// The item must come out, or the result be zeroed.
template<class T, class Container, class Key>
void ExpectRead(Container const& from, Key key, bool found, T old, T expected) {
    EXPECT_EQ(from.Get(key, old), found);
    EXPECT_TRUE(old == expected);
}

template<class Container, class Key>
void ExpectTypedReads(Container const& from, Key number, Key text, Key array, Key object, Key flag,
                      Key absent) {
    ExpectRead<int>(from, number, true, 9, 300);
    ExpectRead<unsigned char>(from, number, false, 9, 0);
    ExpectRead<double>(from, number, false, 9, 0);
    ExpectRead<int>(from, text, false, 9, 0);
    ExpectRead<int>(from, absent, false, 9, 0);
    ExpectRead<CString>(from, text, true, "old", "x");
    ExpectRead<CString>(from, flag, false, "old", "");
    ExpectRead<bool>(from, flag, true, false, true);
    ExpectRead<bool>(from, number, false, true, false);
    Array* a = nullptr;
    Array const* ca = nullptr;
    Object* o = nullptr;
    Object const* co = nullptr;
    EXPECT_TRUE(from.Get(array, a) && from.Get(array, ca) && a == ca && a != nullptr);
    EXPECT_TRUE(from.Get(object, o) && from.Get(object, co) && o == co && o != nullptr);
    EXPECT_FALSE(from.Get(object, a) || from.Get(absent, ca) || from.Get(array, o) || from.Get(text, co));
    EXPECT_TRUE(a == nullptr && ca == nullptr && o == nullptr && co == nullptr);
}

TEST(JsonContainers, ATypedReadZeroesTheResultWhenItFails) {
    Document doc;
    ASSERT_EQ(JsonTest::Parse(doc, R"({"l":[300,"x",[],{},true],"n":300,"t":"x","a":[],"o":{},"f":true})"),
              Json::CODE_OK);
    ExpectTypedReads<Array, unsigned long>(*doc.Object()->First()->Value()->Array(), 0, 1, 2, 3, 4, 5);
    ExpectTypedReads<Object, char const*>(*doc.Object(), "n", "t", "a", "o", "f", "zz");
}

TEST(JsonContainers, RemoveTakesOnlyWhatStandsHere) {
    Document doc;
    ASSERT_EQ(JsonTest::Parse(doc, R"({"a":[1,2,3],"b":[4],"c":7})"), Json::CODE_OK);
    Object& object = *doc.Object();
    Array& array = *object.Get("a")->Value()->Array();
    Array::Element* const foreign = object.Get("b")->Value()->Array()->First();
    EXPECT_FALSE(array.Remove(foreign));
    EXPECT_FALSE(array.Remove(nullptr));

    for (unsigned long index : {1UL, 1UL, 0UL}) { // the middle, the last, the only one
        Array::Element* const element = array.Get(index);
        EXPECT_TRUE(array.Remove(element));
        EXPECT_EQ(element->Value()->Parent(), nullptr);
        EXPECT_FALSE(array.Remove(element));
    }
    EXPECT_EQ(array.First(), nullptr);
    EXPECT_EQ(array.Last(), nullptr);
    array.Append(5);
    EXPECT_TRUE(object.Remove(object.First()->Next()));
    EXPECT_EQ(Text(doc), R"({"a":[5],"c":7})");

    Document other;
    other.Object()->Append("c", 7);
    EXPECT_FALSE(object.Remove(other.Object()->First()));
    EXPECT_FALSE(object.Remove(nullptr));
    EXPECT_TRUE(object.Remove(object.Last()) && object.Remove(object.First()));
    EXPECT_EQ(Text(doc), "{}");
}

TEST(JsonContainers, AppendCopyTakesAnyValueOfAnyDocument) {
    Document from;
    ASSERT_EQ(JsonTest::Parse(from, R"({"k":[1,{"m":"t"}]})"), Json::CODE_OK);
    Document doc;
    Object& object = *doc.Object();
    EXPECT_NE(object.AppendCopy("x", from.Object()->First()->Value()), nullptr);
    EXPECT_TRUE(object.AppendCopy("none", nullptr)->IsNull());
    EXPECT_NE(object.AppendCopy("self", &doc), nullptr);
    Array& array = *object.AppendArray("l");
    EXPECT_TRUE(array.AppendCopy(nullptr)->IsNull());
    EXPECT_EQ(array.AppendCopy(&from)->Parent(), array.Value());
    from.InitArray();
    EXPECT_EQ(Text(doc), R"({"x":[1,{"m":"t"}],"none":null,"self":{"x":[1,{"m":"t"}],"none":null},)"
                         R"("l":[null,{"k":[1,{"m":"t"}]}]})");
}

TEST(JsonObject, ADuplicateNameIsLoggedAndKept) {
    LogCapture log;
    Document doc;
    Object& object = *doc.Object();
    object.Append("a", 1);
    object.Append("A", 2);
    EXPECT_TRUE(log.Take().empty());
    EXPECT_NE(object.Append("a", 3), nullptr);
    EXPECT_EQ(log.Take(), LogCapture::LinesT({"W Json::Object: AppendMember: duplicate key: \"a\"."}));
    int n = 0;
    EXPECT_TRUE(object.Get("a", n));
    EXPECT_EQ(n, 1);
    EXPECT_EQ(Text(doc), R"({"a":1,"A":2,"a":3})");
}

} // namespace
