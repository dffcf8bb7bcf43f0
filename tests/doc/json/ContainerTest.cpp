#include "tests/doc/json/Text.h"
#include "workbench/Heap.h"
#include "workbench/LogCapture.h"
#include "zeb/core/RString.h"
#include "zeb/core/String.h"
#include "zeb/doc/json/Setter.h"
#include "zeb/doc/xml/Document.h"

#include <algorithm>
#include <random>
#include <vector>

using namespace JsonTest;

namespace {

// By Append and by a setter.
TEST(JsonContainers, KeepWhatIsAppendedInOrder) {
    Document doc, made;
    Object& object = *doc.Object();
    Array& array = *object.AppendArray("");
    Json::Setter::Array list(made);
    Json::Setter::Object record(*made.Object());
    record << Json::Setter::NArray("", list);
    char name[] = "a";
    auto const append = [&](auto const& item) {
        Value* const element = array.Append(item);
        EXPECT_TRUE(element && element->Parent() == array.Value() && array.Last()->Value() == element);
        Value* const member = object.Append(name, item);
        EXPECT_TRUE(member && member->Parent() == &doc && object.Last()->Value() == member);
        EXPECT_EQ(object.Get(name), object.Last());
        list << Json::Setter::Element(item), record << Json::Setter::Member(name, item);
        EXPECT_EQ(list.Get_()->Last()->Value()->IsUChar(), element->IsUChar()) << name;
        EXPECT_EQ(list.Get_()->Last()->Value()->IsInt(), element->IsInt()) << name;
        ++name[0];
    };
    auto const appendAll = [&](auto const&... items) { (append(items), ...); };
    appendAll(Json::Null, true, "text", CString("view"), static_cast<char const*>(nullptr), '\x05',
              static_cast<unsigned char>(200), static_cast<short>(-300), static_cast<unsigned short>(40000), -70000, 3000000000U,
              -5000000000L, 5000000000UL, -1LL, 18446744073709551615ULL, 2.5, Json::KIND_INT, static_cast<signed char>(-2),
              false);
    EXPECT_EQ(Text(made), Text(doc));
    EXPECT_EQ(array.AppendArray()->Value()->Parent(), array.Value());
    EXPECT_TRUE(array.AppendObject() != nullptr && array.Last()->Value()->IsObject());
    EXPECT_EQ(object.AppendArray("arr")->Value()->Parent(), &doc);
    EXPECT_EQ(object.AppendObject("obj")->Doc(), &doc);
    EXPECT_EQ(Text(doc), R"({"":[null,true,"text","view","",5,200,-300,40000,-70000,3000000000,-5000000000,)"
                         R"(5000000000,-1,18446744073709551615,2.5,7,-2,false,[],{}],"a":null,"b":true,)"
                         R"("c":"text","d":"view","e":"","f":5,"g":200,"h":-300,"i":40000,"j":-70000,)"
                         R"("k":3000000000,"l":-5000000000,"m":5000000000,"n":-1,"o":18446744073709551615,)"
                         R"("p":2.5,"q":7,"r":-2,"s":false,"arr":[],"obj":{}})");
    unsigned long index = 0;
    for (Array::Element* element = array.First(); element != nullptr; element = element->Next(), ++index) {
        EXPECT_EQ(array.Get(index), element);
        EXPECT_EQ(element->Next() != nullptr ? element->Next()->Prev() : array.Last(), element);
    }
    EXPECT_EQ(array.Get(index), nullptr);
    EXPECT_TRUE(array.IsNull(0) && !array.IsNull(1) && !array.IsNull(index));
    EXPECT_TRUE(object.IsNull("a") && !object.IsNull("b") && !object.IsNull("zz"));
    EXPECT_TRUE(object.Get("B") == nullptr && object.Get(CString::IgnoreCase("B")) == object.Get("b"));
}

// The item must come out, or the result be zeroed.
template<class T, class Container, class Key>
void ExpectRead(Container const& from, Key key, bool found, T result, T const& expected) {
    EXPECT_EQ(from.Get(key, result), found) << key;
    EXPECT_TRUE(result == expected) << key;
}

template<class Container, class Key>
void ExpectTypedReads(Container& from, Key number, Key text, Key array, Key object, Key flag, Key none) {
    ExpectRead(from, number, true, 9, 300);
    ExpectRead<unsigned char>(from, number, false, 9, 0);
    ExpectRead(from, number, false, 9.0, 0.0);
    ExpectRead(from, none, false, 9, 0);
    ExpectRead(from, flag, true, false, true);
    ExpectRead(from, text, false, true, false);
    ExpectRead<CString>(from, text, true, "old", "x");
    ExpectRead<CString>(from, flag, false, "old", "");
    Array* const list = from.Get(array)->Value()->Array();
    Object* const record = from.Get(object)->Value()->Object();
    for (Key const key : {array, object, none}) {
        ExpectRead<Array*>(from, key, key == array, list, key == array ? list : nullptr);
        ExpectRead<Array const*>(from, key, key == array, list, key == array ? list : nullptr);
        ExpectRead<Object*>(from, key, key == object, record, key == object ? record : nullptr);
        ExpectRead<Object const*>(from, key, key == object, record, key == object ? record : nullptr);
    }
    String owned;
    for (auto const& [key, found] : {std::pair{none, false}, {text, true}, {number, false}}) {
        EXPECT_EQ(from.Get(key, owned), found);
        EXPECT_EQ(owned, CString(found ? "x" : ""));
    }
}

// A text that owns its bytes is copied into or refused, and a pointer is no bool.
template<class T>
concept ReadsInto = requires(Array const& a, Object const& o, Value const& v, T& t) {
    a.Get(0, t);
    o.Get("", t);
    v.Get(t);
};
template<class T>
concept Takes = requires(Array& a, Object& o, T t) {
    a.Append(t), o.Append("", t);
};
static_assert(ReadsInto<String> && ReadsInto<CString> && !ReadsInto<RString<8>> && !ReadsInto<float>);
static_assert(!ReadsInto<Json::String> && !ReadsInto<CString::IgnoreCase>);
static_assert(Takes<char*> && Takes<bool> && !Takes<Value*> && !Takes<void const*> && !Takes<void (*)()>);

TEST(JsonContainers, ATypedReadZeroesTheResultWhenItFails) {
    Parsed doc(R"({"l":[300,"x",[],{},true],"n":300,"t":"x","a":[],"o":{},"f":true})");
    ExpectTypedReads<Array, unsigned long>(*doc.Object()->First()->Value()->Array(), 0, 1, 2, 3, 4, 5);
    ExpectTypedReads<Object, char const*>(*doc.Object(), "n", "t", "a", "o", "f", "zz");
    ForEveryAllocation([&](Heap& heap) {
        String owned;
        heap.Arm();
        bool const ok = doc.Object()->Get("t", owned);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_EQ(owned.Size(), ok ? 1u : 0u);
    });
}

TEST(JsonContainers, RemoveTakesOnlyWhatStandsHere) {
    Parsed doc(R"({"a":[1,2,3],"b":[4],"c":7})");
    Parsed other(R"({"c":7})");
    Object& object = *doc.Object();
    Array& array = *object.Get("a")->Value()->Array();
    EXPECT_FALSE(array.Remove(object.Get("b")->Value()->Array()->First()) || array.Remove(nullptr));
    EXPECT_FALSE(object.Remove(other.Object()->First()) || object.Remove(nullptr));
    for (unsigned long index : {1UL, 1UL, 0UL}) { // the middle, the last, the only one
        Array::Element* const element = array.Get(index);
        EXPECT_TRUE(array.Remove(element) && !array.Remove(element));
        EXPECT_EQ(element->Value()->Parent(), nullptr);
    }
    EXPECT_TRUE(array.First() == nullptr && array.Last() == nullptr);
    array.Append(5);
    EXPECT_TRUE(object.Remove(object.First()->Next()));
    EXPECT_EQ(Text(doc), R"({"a":[5],"c":7})");
    EXPECT_TRUE(object.Remove(object.Last()) && object.Remove(object.First()));
    EXPECT_EQ(Text(doc), "{}");
}

TEST(JsonContainers, AppendCopyTakesAnyValueOfAnyDocument) {
    Parsed from(R"({"k":[1,{"m":"t"}]})");
    Document doc;
    Object& object = *doc.Object();
    EXPECT_NE(object.AppendCopy("x", from.Object()->First()->Value()), nullptr);
    EXPECT_TRUE(object.AppendCopy("none", nullptr)->IsNull());
    EXPECT_NE(object.AppendCopy("self", &doc), nullptr);
    Array& array = *object.AppendArray("l");
    EXPECT_TRUE(array.AppendCopy(nullptr)->IsNull());
    EXPECT_EQ(array.AppendCopy(&from)->Parent(), array.Value());
    EXPECT_TRUE(object.AppendObject("c")->Clone_(*from.Object()) && array.Clone_(array));
    from.InitArray();
    EXPECT_EQ(Text(doc), R"({"x":[1,{"m":"t"}],"none":null,"self":{"x":[1,{"m":"t"}],"none":null},)"
                         R"("l":[null,{"k":[1,{"m":"t"}]},null,{"k":[1,{"m":"t"}]}],"c":{"k":[1,{"m":"t"}]}})");
}

TEST(JsonContainers, ATreeOfAnyDepthIsPrintedCopiedAndExportedOnAnyStack) {
    constexpr unsigned LEVELS = 100000;
    Document doc, copy;
    Object* object = doc.Object();
    for (unsigned i = 0; i < LEVELS; ++i) object = object->AppendArray("a")->AppendObject();
    EXPECT_EQ(Text(doc).size(), 2 + 8 * LEVELS);
    ASSERT_NE(copy.Object()->AppendCopy("c", &doc), nullptr);
    EXPECT_EQ(Text(copy).size(), 2 + 8 * LEVELS + 6);
    Xml::Document xml;
    EXPECT_EQ(doc.Export(xml), Json::CODE_OK);
    Xml::Node const* node = &xml;
    for (unsigned i = 0; i < LEVELS; ++i) node = node->FirstNode();
    EXPECT_TRUE(node != nullptr && node->FirstNode() == nullptr);
}

// Beside a plain list of names, of equal ends, which differ in the middle: each one that is there already is
// a warning, in a text and in an object that is built, whatever was removed from it.
TEST(JsonObject, ADuplicateNameIsLoggedAndKeptInAnObjectOfAnySize) {
    std::mt19937 random(5);
    for (unsigned const members : {3U, 16U, 31U, 32U, 33U, 63U, 64U, 65U, 127U, 128U, 129U, 3000U}) {
        LogCapture log;
        Document doc;
        Object& object = *doc.Object();
        std::vector<std::string> names;
        std::string text = "{";
        unsigned long duplicates = 0;
        for (unsigned i = 0; i < members; ++i) {
            std::string const name = "client " + std::to_string(random() % (2 * members)) + " of the bridge";
            unsigned const known = std::ranges::find(names, name) != names.end() ? 1 : 0;
            ASSERT_NE(object.Append(View(name), i), nullptr);
            ASSERT_EQ(log.Take().size(), known) << name << " as " << i;
            names.push_back(name), duplicates += known;
            text += (i != 0 ? ",\"" : "\"") + name + "\":" + std::to_string(i);
        }
        ASSERT_EQ(Text(doc), text + "}");
        ASSERT_EQ(Text(Parsed(text + "}")), text + "}");
        ASSERT_EQ(log.Take().size(), duplicates) << members;
        for (unsigned i = 0; i < 40; ++i) {
            std::string const name = names[random() % names.size()];
            ASSERT_TRUE(object.Remove(object.Get(View(name))));
            names.erase(std::ranges::find(names, name));
            unsigned const known = std::ranges::find(names, name) != names.end() ? 1 : 0;
            ASSERT_NE(object.Append(View(name), i), nullptr);
            ASSERT_EQ(log.Take().size(), known) << name;
            names.push_back(name);
        }
    }
}

TEST(JsonObject, TellsDuplicatesWithoutMemoryForAnIndexToo) {
    unsigned whole = 0;
    ForEveryAllocation([&](Heap& heap) {
        LogCapture log;
        Document doc;
        heap.Arm();
        for (unsigned i = 0; i < 600 && doc.Valid(); ++i) doc.Object()->Append(View(std::to_string(i)), i);
        heap.Disarm();
        EXPECT_TRUE(heap.Fired() || doc.Valid());
        if (!doc.Valid()) return;
        whole += heap.Fired() ? 1 : 0;
        EXPECT_TRUE(doc.Object()->Get("599") != nullptr && log.Lines().empty());
        EXPECT_TRUE(doc.Object()->Append("599", 1) && log.Take().size() == 1);
    });
    EXPECT_GT(whole, 1u);
}

} // namespace
