#include "zeb/core/StringAccumulator.h"

#include "tests/core/Rig.h"

static StringAccumulator& Comma(StringAccumulator& text) { return text << ", "; }

TEST(StringAccumulatorTest, EveryTypeIsPrintedInBothBases) {
    StringAccumulator text;
    for (bool const hex : {false, true}) {
        auto const put = [&](auto value) { (hex ? text.Hex() : text.Dec()) << value << Comma; };
        put(short{-32768}), put(static_cast<unsigned short>(65535)), put(INT_MIN), put(UINT_MAX), put(LONG_MIN), put(ULONG_MAX),
            put(LLONG_MIN);
        put(ULLONG_MAX), put(static_cast<void const*>(nullptr)), put(reinterpret_cast<void const*>(0xBEEFUL)), put(0);
    }
    EXPECT_EQ(text, "-32768, 65535, -2147483648, 4294967295, -9223372036854775808, 18446744073709551615, "
                    "-9223372036854775808, 18446744073709551615, (nil), 0xbeef, 0, 8000, ffff, 80000000, ffffffff, "
                    "8000000000000000, ffffffffffffffff, 8000000000000000, ffffffffffffffff, (nil), 0xbeef, 0, ");
}

TEST(StringAccumulatorTest, EachSettingLastsForOneItem) {
    StringAccumulator text;
    (text << Width(4) << 1 << 2 << Comma).Width(4).Fill('*').Left() << "ab";
    (text << '|' << Fill('0') << Width(3) << 'c' << 'd' << Comma).Upper().Hex() << 0xABCDEF << 0xAB;
    (text.Lower() << "XyZ" << static_cast<unsigned char>('Q')).Upper().Width(4).Fill('f') << "gh"
                                                                                          << "gh";
    (text.Width(1) << "longer" << static_cast<char const*>(nullptr)).Left().Right().Hex().Dec().Width(3) << 10;
    EXPECT_EQ(text.Str(), "   12, ab**|00cd, ABCDEF171xyzQffGHghlonger 10");
    text.Clear().Width(3).Write('-', 2).Write("x", 1).Write('-', 0).Write("y", 1);
    EXPECT_EQ(text, "--  xy") << "raw characters neither use nor end the settings";
}

TEST(StringAccumulatorTest, InvalidUntilClearedButSettingsStillEnd) {
    StringAccumulator text;
    String taken;
    (text << "kept").Invalidate();
    (text.Width(9) << "lost").Write('x', 3);
    EXPECT_TRUE(!text.Valid() && text == "kept" && text.Width(3).Clear().Valid() && text.Empty());
    (text << 'a' << 'b').Swap(taken);
    EXPECT_TRUE(taken == "  ab" && text.Empty()) << "Clear leaves the settings";
}

TEST(StringAccumulatorTest, KeepsWhatItHadWhenMemoryRunsOut) {
    std::string const big(400, 'b'), pad(500, ' ');
    std::string const whole = "start" + pad.substr(400) + big + std::string(400, 'B') + pad + "x";
    ForEveryAllocation([&](Heap& heap) {
        StringAccumulator text;
        heap.Arm();
        (text << "start" << Width(500) << big.c_str()).Left().Width(900).Upper() << big.c_str() << 'x';
        heap.Disarm();
        EXPECT_TRUE(text.Valid() == !heap.Fired() && text.Valid() == (text.Size() == whole.size()));
        EXPECT_EQ(text, whole.substr(0, text.Size()).c_str());
        EXPECT_EQ(text.Clear() << 1 << 2, "12") << "no setting is left over";
    });
}
