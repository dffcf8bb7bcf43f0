#include "tests/doc/json/Text.h"
#include "zeb/core/RString.h"
#include "zeb/core/String.h"
#include "zeb/doc/json/Setter.h"
#include "zeb/doc/xml/Document.h"

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
        Value *const element = array.Append(item), *const member = object.Append(name, item);
        list << Json::Setter::Element(item), record << Json::Setter::Member(name, item);
        Value const& set = *list.Get_()->Last()->Value();
        EXPECT_EQ(std::tuple(array.Last()->Value(), element->Parent(), set.IsUChar(), set.IsInt()),
                  std::tuple(element, array.Value(), element->IsUChar(), element->IsInt()));
        EXPECT_EQ(std::tuple(object.Get(name)->Value(), member->Parent(), object.Last()->Value()),
                  std::tuple(member, &doc, member));
        ++name[0];
    };
    [&](auto const&... items) {
        (append(items), ...);
    }(Json::Null, true, "text", CString("view"), static_cast<char const*>(nullptr), '\x05', static_cast<unsigned char>(200),
      static_cast<short>(-300), static_cast<unsigned short>(40000), -70000, 3000000000U, -5000000000L, 5000000000UL, -1LL,
      18446744073709551615ULL, 2.5, Json::KIND_INT, static_cast<signed char>(-2), false);
    EXPECT_EQ(JsonText(made), JsonText(doc));
    Value *const inner = array.AppendArray()->Value(), *const last = array.AppendObject()->Value();
    EXPECT_EQ(std::tuple(inner->Parent(), array.Last()->Value()), std::tuple(array.Value(), last));
    EXPECT_TRUE(object.AppendArray("arr")->Value()->Parent() == &doc && object.AppendObject("obj")->Doc() == &doc);
    EXPECT_EQ(JsonText(doc), R"({"":[null,true,"text","view","",5,200,-300,40000,-70000,3000000000,-5000000000,5000000000,-1,)"
                             R"(18446744073709551615,2.5,7,-2,false,[],{}],"a":null,"b":true,"c":"text","d":"view","e":"",)"
                             R"("f":5,"g":200,"h":-300,"i":40000,"j":-70000,"k":3000000000,"l":-5000000000,"m":5000000000,)"
                             R"("n":-1,"o":18446744073709551615,"p":2.5,"q":7,"r":-2,"s":false,"arr":[],"obj":{}})");
    unsigned long index = 0;
    for (Array::Element* at = array.First(); at != nullptr; at = at->Next(), ++index)
        EXPECT_EQ(std::pair(array.Get(index), at->Next() ? at->Next()->Prev() : array.Last()), std::pair(at, at));
    EXPECT_TRUE(array.IsNull(0) && object.IsNull("a") && object.Get(CString::IgnoreCase("B")) == object.Get("b"));
    EXPECT_FALSE(array.IsNull(1) || array.IsNull(index) || array.Get(index));
    EXPECT_FALSE(object.IsNull("b") || object.IsNull("zz") || object.Get("B"));
}

// A text that owns its bytes is copied into or refused, and a pointer is no bool.
template<class T>
concept ReadsInto = requires(Array const& a, Object const& o, Value const& v, T& t) {
    a.Get(0, t), o.Get("", t), v.Get(t);
};
template<class T>
concept Takes = requires(Array& a, Object& o, T t) {
    a.Append(t), o.Append("", t);
};
static_assert(ReadsInto<String> && ReadsInto<CString> && !ReadsInto<RString<8>> && !ReadsInto<float>);
static_assert(!ReadsInto<Json::String> && !ReadsInto<CString::IgnoreCase>);
static_assert(Takes<char*> && Takes<bool> && !Takes<Value*> && !Takes<void const*> && !Takes<void (*)()>);

// The item, printed, or "-" and a result that is zeroed.
template<class T>
std::string Read(auto const& from, auto key, T item) {
    Document scratch;
    if (!from.Get(key, item)) return item == T() ? " -" : " kept";
    if constexpr (std::is_pointer_v<T>)
        return " " + JsonText(*item->Value());
    else
        return " " + JsonText(Value(scratch, item));
}

// Into int, unsigned char, double, bool, view, copy, array and object.
std::string Reads(auto const& from, auto key) {
    Document old;
    Object* const record = old.Object();
    Array* const list = record->AppendArray("");
    String owned;
    EXPECT_TRUE(owned.Assign("old", 3));
    return Read(from, key, 9) + Read<unsigned char>(from, key, 9) + Read(from, key, 9.0) + Read(from, key, true) +
           Read<CString>(from, key, "old") + Read(from, key, std::move(owned)) + Read(from, key, list) +
           Read<Array const*>(from, key, list) + Read(from, key, record) + Read<Object const*>(from, key, record);
}

TEST(JsonContainers, ATypedReadZeroesTheResultWhenItFails) {
    Parsed const doc(R"({"l":[300,"x",[],{},false],"n":300,"t":"x","a":[],"o":{},"f":false})");
    char const* const rows[][2] = {{"n", " 300 - - - - - - - - -"},   {"t", R"( - - - - "x" "x" - - - -)"},
                                   {"a", " - - - - - - [] [] - -"},   {"o", " - - - - - - - - {} {}"},
                                   {"f", " - - - false - - - - - -"}, {"zz", " - - - - - - - - - -"}};
    for (auto const& [name, reads] : rows) {
        EXPECT_EQ(Reads(*doc.Object(), name), reads);
        EXPECT_EQ(Reads(*doc.Object()->First()->Value()->Array(), static_cast<unsigned long>(&reads - rows[0]) / 2), reads);
    }
    ForEveryAllocation([&](Heap& heap) {
        String owned;
        bool const ok = Reported(heap, [&] { return doc.Object()->Get("t", owned); });
        EXPECT_EQ(owned.Size(), ok ? 1UL : 0UL);
    });
}

TEST(JsonContainers, RemoveTakesOnlyWhatStandsHere) {
    Parsed doc(R"({"a":[1,2,3],"b":[4],"c":7})"), other(R"({"c":7})");
    Object& object = *doc.Object();
    Array& array = *object.Get("a")->Value()->Array();
    EXPECT_FALSE(array.Remove(object.Get("b")->Value()->Array()->First()) || array.Remove(nullptr));
    EXPECT_FALSE(object.Remove(other.Object()->First()) || object.Remove(nullptr));
    for (unsigned long index : {1UL, 1UL, 0UL}) { // the middle, the last, the only one
        Array::Element* const element = array.Get(index);
        EXPECT_TRUE(array.Remove(element) && !array.Remove(element) && !element->Value()->Parent());
    }
    EXPECT_FALSE(array.First() || array.Last());
    array.Append(5);
    EXPECT_TRUE(object.Remove(object.First()->Next()) && JsonText(doc) == R"({"a":[5],"c":7})");
    EXPECT_TRUE(object.Remove(object.Last()) && object.Remove(object.First()) && JsonText(doc) == "{}");
}

TEST(JsonContainers, AppendCopyTakesAnyValueOfAnyDocument) {
    Parsed from(R"({"k":[1,{"m":"t"}]})");
    Document doc;
    Object& object = *doc.Object();
    EXPECT_NE(object.AppendCopy("x", from.Object()->First()->Value()), nullptr);
    EXPECT_TRUE(object.AppendCopy("none", nullptr)->IsNull() && object.AppendCopy("self", &doc));
    Array& array = *object.AppendArray("l");
    EXPECT_TRUE(array.AppendCopy(nullptr)->IsNull());
    EXPECT_EQ(array.AppendCopy(&from)->Parent(), array.Value());
    EXPECT_TRUE(object.AppendObject("c")->Clone_(*from.Object()) && array.Clone_(array));
    from.InitArray();
    EXPECT_EQ(JsonText(doc), R"({"x":[1,{"m":"t"}],"none":null,"self":{"x":[1,{"m":"t"}],"none":null},)"
                             R"("l":[null,{"k":[1,{"m":"t"}]},null,{"k":[1,{"m":"t"}]}],"c":{"k":[1,{"m":"t"}]}})");
}

TEST(JsonContainers, ATreeOfAnyDepthIsPrintedCopiedAndExportedOnAnyStack) {
    constexpr unsigned LEVELS = 100000;
    Document doc, copy;
    Object* object = doc.Object();
    for (unsigned i = 0; i < LEVELS; ++i) object = object->AppendArray("a")->AppendObject();
    ASSERT_NE(copy.Object()->AppendCopy("c", &doc), nullptr);
    EXPECT_EQ(std::pair(JsonText(doc).size(), JsonText(copy).size()), std::pair(2 + 8UL * LEVELS, 2 + 8UL * LEVELS + 6));
    Xml::Document xml;
    Xml::Node const* node = &xml;
    EXPECT_EQ(doc.Export(xml), Json::CODE_OK);
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
        auto const append = [&](std::string const& name, unsigned i) {
            unsigned const known = std::ranges::find(names, name) != names.end() ? 1 : 0;
            EXPECT_NE(object.Append(View(name), i), nullptr);
            EXPECT_EQ(log.Take().size(), known) << name << " as " << i;
            names.push_back(name), duplicates += known;
        };
        for (unsigned i = 0; i < members; ++i) {
            std::string const name = "client " + std::to_string(random() % (2 * members)) + " of the bridge";
            append(name, i);
            text += (i != 0 ? ",\"" : "\"") + name + "\":" + std::to_string(i);
        }
        ASSERT_EQ(std::tuple(JsonText(doc), JsonText(Parsed(text + "}"))), std::tuple(text + "}", text + "}"));
        ASSERT_EQ(log.Take().size(), duplicates) << members;
        for (unsigned i = 0; i < 40; ++i) {
            std::string const name = names[random() % names.size()];
            ASSERT_TRUE(object.Remove(object.Get(View(name))));
            names.erase(std::ranges::find(names, name)), append(name, i);
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
