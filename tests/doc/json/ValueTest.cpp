#include "tests/doc/json/Text.h"

#include <climits>
#include <gtest/gtest.h>

using Json::Document;
using Json::Value;

namespace {

// The flags, by asking the tests of the value; and each pointer and each read must agree with its test.
unsigned Flags(Value const& v) {
    bool const is[] = {v.IsChar(), v.IsUChar(), v.IsShort(),    v.IsUShort(),    v.IsInt(),   v.IsUInt(),
                       v.IsLong(), v.IsULong(), v.IsLongLong(), v.IsULongLong(), v.IsDouble()};
    void const* const pointer[] = {v.CharPtr(),     v.UCharPtr(),     v.ShortPtr(), v.UShortPtr(),
                                   v.IntPtr(),      v.UIntPtr(),      v.LongPtr(),  v.ULongPtr(),
                                   v.LongLongPtr(), v.ULongLongPtr(), v.DoublePtr()};
    unsigned flags = 0;
    for (unsigned i = 0; i < 11; ++i) {
        flags |= unsigned{is[i]} << i;
        EXPECT_EQ(is[i], pointer[i] != nullptr) << i;
    }
    return flags;
}

template<class T>
void ExpectHeld(T read, T const* pointer, Value const& v, long long expected) {
    T copy = T(1);
    bool const got = v.Get(copy);
    EXPECT_EQ(got, pointer != nullptr);
    EXPECT_EQ(copy, pointer != nullptr ? static_cast<T>(expected) : T(0));
    if (pointer == nullptr) return;
    EXPECT_EQ(read, static_cast<T>(expected));
    EXPECT_EQ(*pointer, static_cast<T>(expected));
}

void ExpectHeldByAll(Value const& v, long long n) {
    ExpectHeld(v.Char(), v.CharPtr(), v, n);
    ExpectHeld(v.UChar(), v.UCharPtr(), v, n);
    ExpectHeld(v.Short(), v.ShortPtr(), v, n);
    ExpectHeld(v.UShort(), v.UShortPtr(), v, n);
    ExpectHeld(v.Int(), v.IntPtr(), v, n);
    ExpectHeld(v.UInt(), v.UIntPtr(), v, n);
    ExpectHeld(v.Long(), v.LongPtr(), v, n);
    ExpectHeld(v.ULong(), v.ULongPtr(), v, n);
    ExpectHeld(v.LongLong(), v.LongLongPtr(), v, n);
    ExpectHeld(v.ULongLong(), v.ULongLongPtr(), v, n);
    EXPECT_FALSE(v.IsDouble());
}

struct Range {
    long long first, last;
    unsigned flags;
};

constexpr Range RANGES[] = {
    {LLONG_MIN, -2147483649LL, 320},
    {-2147483648LL, -32769, 336},
    {-32768, -129, 340},
    {-128, -1, 341},
    {0, 127, 1023},
    {128, 255, 1022},
    {256, 32767, 1020},
    {32768, 65535, 1016},
    {65536, 2147483647, 1008},
    {2147483648, 4294967295, 992},
    {4294967296, LLONG_MAX, 960},
};

TEST(JsonValue, AnIntegerIsOfEveryTypeThatHoldsIt) {
    Document doc;
    for (Range const& range : RANGES) {
        for (long long n : {range.first, range.last}) {
            Value const v(doc, n);
            EXPECT_EQ(Flags(v), range.flags) << n;
            ExpectHeldByAll(v, n);
            if (n < 0) continue;
            Value const u(doc, static_cast<unsigned long long>(n));
            EXPECT_EQ(Flags(u), range.flags) << n;
            ExpectHeldByAll(u, n);
        }
    }
    EXPECT_EQ(Flags(Value(doc, 0x8000000000000000ULL)), 640u);
    EXPECT_EQ(Flags(Value(doc, ULLONG_MAX)), 640u);
}

TEST(JsonValue, TheTypeItIsMadeFromDoesNotMatter) {
    Document doc;
    Value const values[] = {{doc, static_cast<char>(-1)},
                            {doc, static_cast<unsigned char>(200)},
                            {doc, static_cast<short>(-200)},
                            {doc, static_cast<unsigned short>(40000)},
                            {doc, 5},
                            {doc, 3000000000U},
                            {doc, -5L},
                            {doc, ULONG_MAX},
                            {doc, Value::TYPE_NUMBER},
                            {doc, 5.0}};
    unsigned const flags[] = {341, 1022, 340, 1016, 1023, 992, 341, 640, 1023, 1024};
    for (unsigned i = 0; i < std::size(values); ++i)
        EXPECT_EQ(Flags(values[i]), flags[i]) << i;
    EXPECT_EQ(values[9].Double(), 5.0);
    EXPECT_EQ(*values[9].DoublePtr(), 5.0);
}

TEST(JsonValue, OnlyTheAccessorsOfItsTypeAnswer) {
    Document doc;
    Value const values[] = {{doc, Json::Null},        {doc, false},  {doc, true}, {doc, Value::TYPE_OBJECT},
                            {doc, Value::TYPE_ARRAY}, {doc, "text"}, {doc, 7}};
    for (unsigned type = 0; type < 7; ++type) {
        Value const& v = values[type];
        EXPECT_EQ(v.Type(), type);
        bool const is[] = {v.IsNull(),  v.IsFalse(),  v.IsTrue(),  v.IsObject(),
                           v.IsArray(), v.IsString(), v.IsNumber()};
        bool const has[] = {v.NullPtr() == &Json::Null,
                            v.BoolPtr() && !v.Bool(),
                            v.BoolPtr() && v.Bool(),
                            v.Object() != nullptr,
                            v.Array() != nullptr,
                            v.StringPtr() != nullptr,
                            Flags(v) == 1023};
        for (unsigned other = 0; other < 7; ++other) {
            EXPECT_EQ(is[other], other == type);
            EXPECT_EQ(has[other], other == type);
        }
        EXPECT_EQ(v.IsBool(), type == 1 || type == 2);
        EXPECT_EQ(v.String().Size(), type == 5 ? 4u : 0u);
        EXPECT_EQ(v.Parent(), nullptr);
        EXPECT_EQ(v.Doc(), &doc);
    }
    EXPECT_FALSE(*values[1].BoolPtr());
    EXPECT_TRUE(*values[2].BoolPtr());
    EXPECT_EQ(values[3].Object()->Value(), &values[3]);
    EXPECT_EQ(values[4].Array()->Doc(), &doc);
    EXPECT_EQ(*values[5].StringPtr(), CString("text"));
}

TEST(JsonValue, ADeepCopyIsEqualAndApart) {
    char const TEXT[] =
        R"({"a":[null,true,false,-1,200,18446744073709551615,0.5,"x\u0000y",{}],"b":{"c":[]},"b":1})";
    Document copy;
    Value* value = nullptr;
    {
        Document doc;
        ASSERT_EQ(JsonTest::Parse(doc, TEXT), Json::CODE_OK);
        value = doc.Copy_(copy);
        doc.InitArray();
    }
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(JsonTest::Text(*value), TEXT);
    EXPECT_EQ(value->Parent(), nullptr);
    EXPECT_EQ(value->Doc(), &copy);
    Json::Array* const array = value->Object()->First()->Value()->Array();
    EXPECT_EQ(Flags(*array->Get(3)->Value()), 341u);
    EXPECT_EQ(Flags(*array->Get(4)->Value()), 1022u);
    EXPECT_EQ(Flags(*array->Get(6)->Value()), 1024u);
    EXPECT_EQ(array->Get(3)->Value()->Parent(), array->Value());
}

} // namespace
