#include "zeb/doc/json/Getter.h"
#include "tests/doc/json/Text.h"

#include <optional>

using namespace Json::Getter;
using Json::NullT, JsonTest::Parsed;

namespace {

bool operator==(NullT const&, NullT const&) { return true; }

// A list of a value that a T holds and of one that it does not.
template<class T>
void ExpectFamily(char const* text, T const& good, T const& junk) {
    SCOPED_TRACE(text);
    Parsed const doc(text);
    for (bool const match : {true, false}) {
        Json::Value const& value = *doc.Array()->Get(match ? 0 : 1)->Value();
        T item = junk;
        T const* pointer = &junk;
        Scalar required(item), optional(&pointer);
        EXPECT_TRUE(item == T() && pointer == nullptr && !required && !optional);
        EXPECT_TRUE(required.Get(value) == match && optional.Get(value));
        EXPECT_TRUE(required == match && optional == match && item == (match ? good : T()));
        EXPECT_TRUE(match ? pointer != nullptr && *pointer == good : pointer == nullptr);
    }
}

TEST(JsonGetter, EachTypeIsReadOrLeavesZero) {
    ExpectFamily<NullT>("[null,false]", {}, {}), ExpectFamily<bool>("[true,null]", true, true);
    ExpectFamily<CString>("[\"t\\u0000x\",1]", CString("t\0x", 3), "junk");
    ExpectFamily<char>("[-128,128]", -128, 9), ExpectFamily<unsigned char>("[255,300]", 255, 9);
    ExpectFamily<short>("[-32768,32768]", -32768, 9), ExpectFamily<unsigned short>("[65535,65536]", 65535, 9);
    ExpectFamily<int>("[-2147483648,2147483648]", -2147483647 - 1, 9);
    ExpectFamily<unsigned>("[4294967295,-1]", 4294967295U, 9), ExpectFamily<long>("[-5,9223372036854775808]", -5, 9);
    ExpectFamily<unsigned long>("[18446744073709551615,-1]", ~0UL, 9);
    ExpectFamily<long long>("[4294967296,\"1\"]", 4294967296LL, 9);
    ExpectFamily<unsigned long long>("[9223372036854775808,0.5]", 1ULL << 63, 9), ExpectFamily<double>("[-0.5,1]", -0.5, 9);
}

TEST(JsonGetter, AFailureReachesTheTopAndSaysWhereUnlessItIsOptional) {
    // Whether the top, the object and the list hold, the values a, b and both elements, and what failed.
    // clang-format off
    std::tuple<char const*, bool, std::string> const rows[] = {
        {R"({"a":1,"o":{"b":2},"l":[3,4,"more"],"s":null})", true, "+++1234"}, {R"({"a":1})", true, "+--1000"},
        {R"({"a":1,"o":null,"l":{},"s":5})", false, "+--1000"}, {R"({"a":1,"s":5})", true, "---1000s"},
        {R"({"a":1,"s":"x","o":null})", true, "+--1000"}, {R"({"a":1,"o":[],"l":[3,4]})", true, "---1000o"},
        {R"({"o":{"b":2},"l":[3,4]})", false, "---0000a"}, {R"({"a":1,"o":{"b":"x"},"l":[3,4]})", false, "---1000o.b"},
        {R"({"a":1,"o":{"b":2},"l":[3]})", false, "-+-1230l[1]"}, {R"({"a":1,"o":{"b":2},"l":[0.5,4]})", false, "-+-1200l[0]"},
    };
    // clang-format on
    for (auto const& [text, strict, outcome] : rows) {
        Parsed const doc(text);
        bool hasObject = true, hasList = true;
        int a = 9, b = 9, first = 9, second = 9;
        CString const* s = nullptr;
        Object top(doc.Object()), object(&hasObject);
        Array list(&hasList);
        if (strict) top.Strict();
        top >> Member("a", a) >> Member("s", &s) >> NValue("o", object >> Member("b", b)) >>
            NValue("l", list.Strict() >> Element(first) >> Element(second));
        std::string seen;
        for (bool const holds : {bool(top), hasObject, hasList}) seen += holds ? '+' : '-';
        for (int const value : {a, b, first, second}) seen += std::to_string(value);
        EXPECT_EQ(seen + top.FailedField().Cstr(), outcome) << text;
    }
}

TEST(JsonGetter, AGetterReadsOnceAndWithoutABoolIsRequired) {
    for (auto const& [text, ok] : {std::pair{R"({"o":{}})", true}, {R"({"o":[]})", false}, {"{}", false}}) {
        Parsed const doc(text);
        Object top(doc.Object()), object, none(static_cast<Json::Object const*>(nullptr));
        Array nothing(doc.Array());
        top >> NValue("o", object);
        EXPECT_TRUE(top == ok && object == ok && !object.IsOptional() && !(ok && object.Get(doc))) << text;
        EXPECT_FALSE(none || none.Get(doc) || nothing || nothing.Get(doc) || top.Get(doc));
        int const* pointer = nullptr;
        Scalar optional(&pointer), nowhere(static_cast<int const**>(nullptr));
        EXPECT_TRUE(nowhere.Get(doc) && optional.Get(doc) && !optional.Get(doc) && pointer == nullptr);
    }
}

TEST(JsonGetter, AFailureInALoopFailsAllAboveAlsoWhenTheirHoldersHaveEnded) {
    Parsed const doc(R"({"wan":{"list":[{"n":1},{"n":20},{"n":300}]}})");
    std::optional<Object> top(std::in_place, doc.Object());
    Object wan, again(doc.Object()), members(doc.Object());
    Array list;
    *top >> NValue("wan", wan);
    wan >> NValue("list", list);
    unsigned sum = 0;
    for (UValue::Iterator& item : list) {
        EXPECT_TRUE(list && wan && *top);
        unsigned char byte = 9;
        Object record;
        UValue const element(item, record);
        sum += record >> Member("n", byte) ? byte : 1000;
    }
    EXPECT_EQ(sum, 1021u);
    EXPECT_FALSE(list || wan || *top || again >> NValue("wan", wan));
    EXPECT_EQ(std::tuple(list.FailedField(), top->FailedField()), std::tuple("list[2].n", "wan.list[2].n"));
    top.reset();
    std::string const name(100, 'x'); // does not fit
    wan >> Member("late", sum), members >> Member(JsonTest::View(name), sum);
    EXPECT_EQ(members.FailedField(), JsonTest::View(name.substr(0, 79)));
}

TEST(JsonGetter, ALoopBindsElementsAndMembersInAllForms) {
    Parsed const doc(R"({"a":[1,2],"b":[3,"x"]})");
    std::string seen;
    Object members(doc.Object());
    for (NValue::Iterator& member : members) {
        Array list;
        NValue const place(member, list);
        int number;
        int const* pointer;
        NValue::Iterator same = member;
        EXPECT_EQ(Member(same, &pointer).Name(), member.Name());
        for (UValue::Iterator& item : list) {
            Element const element(item, number), optional(item, &pointer);
            seen += std::to_string(number) + (element ? "+" : "-") + (optional && *pointer == number ? "+" : "-");
        }
        seen += std::string(place.Name().Cstr()) + (members ? "+ " : "- ");
        EXPECT_FALSE(members && Member(same, number));
    }
    EXPECT_EQ(seen, "1++2++a+ 3++0--b- ");
}

TEST(JsonGetter, WhatIsRefusedOrEndsBeforeItIsReadFailsAllAbove) {
    Parsed const doc(R"({"wan":{"id":7}})");
    int id = 9;
    std::function<void(Object&, std::optional<NValue>&)> const losses[] = {
        [&](Object& wan, auto&) { wan >> Member("id", id); },                                      // by itself
        [](Object& wan, auto& place) { wan >> place.emplace("id", *std::make_unique<Object>()); }, // ends first
        [](Object& wan, auto& place) { wan >> place.emplace("id", wan); },                         // in itself
    };
    for (auto const& lose : losses)
        for (char const* name : {"wan", "none"}) {
            bool hasWan = true;
            Object record(doc.Object()), wan(&hasWan), direct;
            std::optional<NValue> place;
            lose(wan, place), place.reset();
            record >> NValue(name, wan);
            lose(direct, place);
            EXPECT_EQ(record.FailedField().Compare(0, strlen(name), name), 0) << &lose - losses;
            EXPECT_FALSE(record || wan || hasWan || direct.Get(*doc.Object()->First()->Value()) || id != 0) << &lose - losses;
        }
}

TEST(JsonGetter, AChildHangsOnceAndNeverBelowItselfAndEndsInAnyOrder) {
    Parsed const doc(R"({"a":1,"o":{"b":2}})");
    int a = 9, b = 9;
    Object first(doc.Object()), above, top, ring;
    Member member("a", a), stays("b", b);
    EXPECT_TRUE(Object(doc.Object()) >> member && member && a == 1);
    NValue place("f", first);
    above >> place;
    EXPECT_FALSE(first.AddMember_(first, member) || first || member || a != 0); // not even when its parent is gone
    EXPECT_EQ(above.FailedField(), "a");
    NValue again("f", first), abovePlace("x", above), ringPlace("x", ring);
    EXPECT_FALSE(top.AddMember_(top, again));          // hangs below `above`
    EXPECT_FALSE(ring.AddMember_(ring, ringPlace));    // in itself
    EXPECT_FALSE(first.AddMember_(first, abovePlace)); // above it already
    EXPECT_TRUE(top.AddMember_(top, abovePlace));

    std::optional<Object> outer(std::in_place), inner(std::in_place);
    std::optional<NValue> held(std::in_place, "o", *inner);
    *inner >> stays;
    EXPECT_TRUE((*outer >> *held).Get(doc) && b == 2);
    NValue const second("o", *inner); // does not last longer than what it would hold
    EXPECT_FALSE(*inner || *outer);
    inner.reset();
    EXPECT_FALSE(*held || second || outer->GetMember_(*held));
    outer.reset(), held.reset();
    EXPECT_TRUE(stays);
}

} // namespace
