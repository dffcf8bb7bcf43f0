#include "tests/doc/json/Text.h"
#include "workbench/LogCapture.h"

using namespace JsonTest;

namespace {

TEST(JsonContainers, KeepWhatIsAppendedInOrder) {
    Document doc;
    Object& object = *doc.Object();
    Array& array = *object.AppendArray("");
    char name[] = "a";
    auto const append = [&](auto const& item) {
        Value* const element = array.Append(item);
        ASSERT_TRUE(element && element->Parent() == array.Value() && array.Last()->Value() == element);
        Value* const member = object.Append(name, item);
        ASSERT_TRUE(member && member->Parent() == &doc && object.Last()->Value() == member);
        EXPECT_EQ(object.Get(name), object.Last());
        ++name[0];
    };
    auto const appendAll = [&](auto const&... items) { (append(items), ...); };
    appendAll(Json::Null, true, "text", CString("view", 3), static_cast<char const*>(nullptr), '\x05',
              static_cast<unsigned char>(200), static_cast<short>(-300), static_cast<unsigned short>(40000),
              -70000, 3000000000U, -5000000000L, 5000000000UL, -1LL, 18446744073709551615ULL, 2.5);
    EXPECT_EQ(array.AppendArray()->Value()->Parent(), array.Value());
    Object* const last = array.AppendObject();
    EXPECT_EQ(last->Value(), array.Last()->Value());
    EXPECT_EQ(object.AppendArray("arr")->Value()->Parent(), &doc);
    EXPECT_EQ(object.AppendObject("obj")->Doc(), &doc);
    EXPECT_EQ(Text(doc), R"({"":[null,true,"text","vie","",5,200,-300,40000,-70000,3000000000,-5000000000,)"
                         R"(5000000000,-1,18446744073709551615,2.5,[],{}],"a":null,"b":true,"c":"text",)"
                         R"("d":"vie","e":"","f":5,"g":200,"h":-300,"i":40000,"j":-70000,"k":3000000000,)"
                         R"("l":-5000000000,"m":5000000000,"n":-1,"o":18446744073709551615,"p":2.5,)"
                         R"("arr":[],"obj":{}})");
    unsigned long index = 0;
    for (Array::Element* element = array.First(); element != nullptr; element = element->Next(), ++index) {
        EXPECT_EQ(array.Get(index), element);
        EXPECT_EQ(element->Next() != nullptr ? element->Next()->Prev() : array.Last(), element);
    }
    EXPECT_EQ(array.Get(index), nullptr);
    EXPECT_TRUE(array.IsNull(0) && !array.IsNull(1) && !array.IsNull(index));
    EXPECT_EQ(object.Get("f")->Name(), CString("f"));
    EXPECT_EQ(object.Get("B"), nullptr);
    EXPECT_EQ(object.Get(CString::IgnoreCase("B")), object.Get("b"));
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
                      Key none) {
    ExpectRead<int>(from, number, true, 9, 300);
    ExpectRead<unsigned char>(from, number, false, 9, 0);
    ExpectRead<double>(from, number, false, 9, 0);
    ExpectRead<int>(from, text, false, 9, 0);
    ExpectRead<int>(from, none, false, 9, 0);
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
    EXPECT_FALSE(from.Get(object, a) || from.Get(none, ca) || from.Get(array, o) || from.Get(text, co));
    EXPECT_TRUE(a == nullptr && ca == nullptr && o == nullptr && co == nullptr);
}

TEST(JsonContainers, ATypedReadZeroesTheResultWhenItFails) {
    Document doc;
    ASSERT_EQ(Parse(doc, R"({"l":[300,"x",[],{},true],"n":300,"t":"x","a":[],"o":{},"f":true})"),
              Json::CODE_OK);
    ExpectTypedReads<Array, unsigned long>(*doc.Object()->First()->Value()->Array(), 0, 1, 2, 3, 4, 5);
    ExpectTypedReads<Object, char const*>(*doc.Object(), "n", "t", "a", "o", "f", "zz");
}

TEST(JsonContainers, RemoveTakesOnlyWhatStandsHere) {
    Document doc, other;
    ASSERT_EQ(Parse(doc, R"({"a":[1,2,3],"b":[4],"c":7})"), Json::CODE_OK);
    Object& object = *doc.Object();
    Array& array = *object.Get("a")->Value()->Array();
    EXPECT_FALSE(array.Remove(object.Get("b")->Value()->Array()->First()) || array.Remove(nullptr));
    for (unsigned long index : {1UL, 1UL, 0UL}) { // the middle, the last, the only one
        Array::Element* const element = array.Get(index);
        EXPECT_TRUE(array.Remove(element));
        EXPECT_EQ(element->Value()->Parent(), nullptr);
        EXPECT_FALSE(array.Remove(element));
    }
    EXPECT_TRUE(array.First() == nullptr && array.Last() == nullptr);
    array.Append(5);
    EXPECT_TRUE(object.Remove(object.First()->Next()));
    EXPECT_EQ(Text(doc), R"({"a":[5],"c":7})");
    other.Object()->Append("c", 7);
    EXPECT_FALSE(object.Remove(other.Object()->First()) || object.Remove(nullptr));
    EXPECT_TRUE(object.Remove(object.Last()) && object.Remove(object.First()));
    EXPECT_EQ(Text(doc), "{}");
}

TEST(JsonContainers, AppendCopyTakesAnyValueOfAnyDocument) {
    Document from, doc;
    ASSERT_EQ(Parse(from, R"({"k":[1,{"m":"t"}]})"), Json::CODE_OK);
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
    int n = 0;
    for (char const* name : {"a", "A", "a"})
        EXPECT_NE(doc.Object()->Append(name, ++n), nullptr);
    EXPECT_EQ(log.Take(), LogCapture::LinesT{"W Json::Object: AppendMember: duplicate key: \"a\"."});
    EXPECT_TRUE(doc.Object()->Get("a", n) && n == 1);
    EXPECT_EQ(Text(doc), R"({"a":1,"A":2,"a":3})");
}

} // namespace
