#include "zeb/core/StringAccumulator.h"

#include "tests/support/Heap.h"

#include <climits>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>

namespace {

StringAccumulator& Comma(StringAccumulator& text) { return text << ", "; }

#pragma GCC diagnostic ignored "-Wformat-nonliteral"
std::string Printed(char const* format, auto value) {
    char text[40];
    snprintf(text, sizeof text, format, value);
    return text;
}

void ExpectBoth(auto value, char const* decimal, char const* hex) {
    StringAccumulator text;
    text << value << ' ';
    text.Hex() << value;
    EXPECT_EQ(text.Str().Cstr(), Printed(decimal, value) + " " + Printed(hex, value));
}

} // namespace

TEST(StringAccumulatorTest, NumbersReadAsPrintfWritesThem) {
    for (long const bits : {0L, 1L, -1L, 9L, 10L, 127L, -128L, 32767L, -32768L, 65536L, long{INT_MIN},
                            LONG_MIN, LONG_MAX, 1234567890123456789L}) {
        ExpectBoth(static_cast<short>(bits), "%hi", "%hx");
        ExpectBoth(static_cast<unsigned short>(bits), "%hu", "%hx");
        ExpectBoth(static_cast<int>(bits), "%i", "%x");
        ExpectBoth(static_cast<unsigned>(bits), "%u", "%x");
        ExpectBoth(bits, "%li", "%lx");
        ExpectBoth(static_cast<unsigned long>(bits), "%lu", "%lx");
        ExpectBoth(static_cast<long long>(bits), "%lli", "%llx");
        ExpectBoth(static_cast<unsigned long long>(bits), "%llu", "%llx");
        ExpectBoth(reinterpret_cast<void const*>(bits), "%p", "%p");
    }
}

TEST(StringAccumulatorTest, EachSettingLastsForOneItem) {
    StringAccumulator text;
    text << Width(4) << 1 << 2 << Comma;
    text.Width(4).Fill('*').Left() << "ab";
    text << '|' << Fill('0') << Width(3) << 'c' << 'd' << Comma;
    text.Upper().Hex() << 0xABCDEF << 0xAB;
    text.Lower() << "XyZ" << static_cast<unsigned char>('Q');
    text.Upper().Width(4).Fill('f') << "gh"
                                    << "gh";
    text.Width(1) << "longer" << static_cast<char const*>(nullptr);
    text.Left().Right().Hex().Dec().Width(3) << 10;
    EXPECT_EQ(text.Str(), "   12, ab**|00cd, ABCDEF171xyzQffGHghlonger 10");
}

TEST(StringAccumulatorTest, RawCharactersNeitherUseNorEndSettings) {
    StringAccumulator text;
    text.Width(3).Write('-', 2).Write("x", 1).Write('-', 0).Write("y", 1);
    EXPECT_EQ(text, "--  xy");
}

TEST(StringAccumulatorTest, InvalidUntilClearedButSettingsStillEnd) {
    StringAccumulator text;
    text << "kept";
    text.Invalidate();
    text.Width(9) << "lost";
    text.Write('x', 3);
    EXPECT_FALSE(text.Valid());
    EXPECT_EQ(text, "kept");
    text.Width(3).Clear();
    EXPECT_TRUE(text.Valid() && text.Empty());
    text << 'a' << 'b';
    EXPECT_EQ(text, "  ab") << "Clear leaves the settings";
    String taken;
    text.Swap(taken);
    EXPECT_EQ(taken, "  ab");
    EXPECT_TRUE(text.Empty());
}

TEST(StringAccumulatorTest, KeepsWhatItHadWhenMemoryRunsOut) {
    std::string const big(400, 'b');
    ForEveryAllocation([&](Heap& heap) {
        StringAccumulator text;
        heap.Arm();
        text << "start" << Width(500) << big.c_str();
        text.Left().Width(900).Upper() << big.c_str();
        text << 'x';
        heap.Disarm();
        EXPECT_EQ(text.Valid(), !heap.Fired());
        std::string const whole =
            "start" + std::string(100, ' ') + big + std::string(400, 'B') + std::string(500, ' ') + "x";
        EXPECT_EQ(whole.substr(0, text.Size()), text.Cstr());
        EXPECT_EQ(text.Size() == whole.size(), text.Valid());
        text.Clear() << 1 << 2;
        EXPECT_EQ(text, "12") << "no setting is left over";
    });
}
