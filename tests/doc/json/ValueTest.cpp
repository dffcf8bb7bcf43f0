#include "tests/doc/json/Text.h"

#include <climits>

using namespace JsonTest;

namespace {

// The types that hold the value `n`, a bit each. The test, the read, the pointer and Get of a type must
// agree.
unsigned Held(Value const& v, long double n) {
    unsigned held = 0, bit = 1;
    auto const check = [&](bool is, auto read, auto const* pointer) {
        auto copy = decltype(read)(1);
        EXPECT_EQ(v.Get(copy), is) << bit;
        EXPECT_EQ(copy, is ? decltype(read)(n) : 0) << bit;
        EXPECT_TRUE(is ? read == copy && pointer != nullptr && *pointer == copy : pointer == nullptr) << bit;
        held |= is ? bit : 0, bit <<= 1;
    };
    check(v.IsChar(), v.Char(), v.CharPtr()), check(v.IsUChar(), v.UChar(), v.UCharPtr());
    check(v.IsShort(), v.Short(), v.ShortPtr()), check(v.IsUShort(), v.UShort(), v.UShortPtr());
    check(v.IsInt(), v.Int(), v.IntPtr()), check(v.IsUInt(), v.UInt(), v.UIntPtr());
    check(v.IsLong(), v.Long(), v.LongPtr()), check(v.IsULong(), v.ULong(), v.ULongPtr());
    check(v.IsLongLong(), v.LongLong(), v.LongLongPtr()), check(v.IsULongLong(), v.ULongLong(), v.ULongLongPtr());
    check(v.IsDouble(), v.Double(), v.DoublePtr());
    return held;
}

TEST(JsonValue, AnIntegerIsOfEveryTypeThatHoldsIt) {
    std::pair<long long, unsigned> const rows[] = {
        {LLONG_MIN, 320},    {-2147483649LL, 320}, {-2147483648LL, 336}, {-32769, 336},
        {-32768, 340},       {-129, 340},          {-128, 341},          {-1, 341},
        {0, 1023},           {127, 1023},          {128, 1022},          {255, 1022},
        {256, 1020},         {32767, 1020},        {32768, 1016},        {65535, 1016},
        {65536, 1008},       {2147483647, 1008},   {2147483648, 992},    {4294967295LL, 992},
        {4294967296LL, 960}, {LLONG_MAX, 960},
    };
    Document doc;
    for (auto const& [n, types] : rows) {
        EXPECT_EQ(Held(Value(doc, n), n), types) << n;
        EXPECT_TRUE(n < 0 || Held(Value(doc, static_cast<unsigned long long>(n)), n) == types) << n;
    }
    // The type that it is made from does not matter, and a double is none of them.
    auto const expect = [&](auto number, unsigned types) { EXPECT_EQ(Held({doc, number}, number), types); };
    expect(0x8000000000000000ULL, 640), expect(ULLONG_MAX, 640), expect(ULONG_MAX, 640), expect(-5L, 341);
    expect(char{-1}, 341), expect(static_cast<unsigned char>(200), 1022), expect(short{-200}, 340);
    expect(static_cast<unsigned short>(40000), 1016), expect(5, 1023), expect(3000000000U, 992);
    expect(5.0, 1024);
    EXPECT_EQ(Held(Value(doc, Value::TYPE_NUMBER), 0), 1023u);
}

TEST(JsonValue, OnlyTheAccessorsOfItsTypeAnswer) {
    Document doc;
    Value const values[] = {{doc, Json::Null},        {doc, false},  {doc, true}, {doc, Value::TYPE_OBJECT},
                            {doc, Value::TYPE_ARRAY}, {doc, "text"}, {doc, 7}};
    for (unsigned type = 0; type < 7; ++type) {
        Value const& v = values[type];
        bool const answers[7][2] = {{v.IsNull(), v.NullPtr() == &Json::Null},
                                    {v.IsFalse(), v.BoolPtr() && !v.Bool() && !*v.BoolPtr()},
                                    {v.IsTrue(), v.BoolPtr() && v.Bool() && *v.BoolPtr()},
                                    {v.IsObject(), v.Object() && v.Object()->Value() == &v},
                                    {v.IsArray(), v.Array() && v.Array()->Doc() == &doc},
                                    {v.IsString(), v.StringPtr() && *v.StringPtr() == CString("text")},
                                    {v.IsNumber(), v.IntPtr() && *v.IntPtr() == 7}};
        for (unsigned other = 0; other < 7; ++other)
            EXPECT_TRUE(answers[other][0] == (other == type) && answers[other][1] == (other == type)) << type;
        EXPECT_EQ(std::tuple(v.Type(), v.IsBool(), v.String().Size(), v.Parent(), v.Doc()),
                  std::tuple(type, type == 1 || type == 2, type == 5 ? 4u : 0u, nullptr, &doc));
    }
}

TEST(JsonValue, ADeepCopyIsEqualAndApart) {
    char const TEXT[] = R"({"a":[null,true,false,-1,200,18446744073709551615,0.5,"x\u0000y",{}],"b":{"c":[]},"b":1})";
    Document copy;
    Value* const value = Parsed(TEXT).Copy_(copy);
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(JsonText(*value), TEXT);
    EXPECT_TRUE(value->Parent() == nullptr && value->Doc() == &copy);
    Array* const array = value->Object()->First()->Value()->Array();
    auto const held = [&](unsigned long index, double n) { return Held(*array->Get(index)->Value(), n); };
    EXPECT_EQ((std::vector{held(3, -1), held(4, 200), held(6, 0.5)}), (std::vector{341u, 1022u, 1024u}));
    EXPECT_EQ(array->Get(3)->Value()->Parent(), array->Value());
}

} // namespace
