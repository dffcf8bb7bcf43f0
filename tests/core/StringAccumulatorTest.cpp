#include "zeb/core/StringAccumulator.h"

#include "workbench/Heap.h"

#include <climits>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>

#pragma GCC diagnostic ignored "-Wformat-nonliteral"

namespace {

StringAccumulator& Comma(StringAccumulator& text) { return text << ", "; }

void ExpectAsPrintf(auto value, std::string const& decimal, std::string const& hex) {
    char expected[80];
    snprintf(expected, sizeof expected, (decimal + " " + hex).c_str(), value, value);
    StringAccumulator text;
    (text << value << ' ').Hex() << value;
    EXPECT_EQ(text.Str(), expected);
}

} // namespace

TEST(StringAccumulatorTest, NumbersReadAsPrintfWritesThem) {
    for (long const bits : {0L, -1L, 9L, 10L, 32767L, -32768L, 65536L, long{INT_MIN}, LONG_MIN, LONG_MAX}) {
        ExpectAsPrintf(static_cast<short>(bits), "%hi", "%hx");
        ExpectAsPrintf(static_cast<unsigned short>(bits), "%hu", "%hx");
        ExpectAsPrintf(static_cast<int>(bits), "%i", "%x");
        ExpectAsPrintf(static_cast<unsigned>(bits), "%u", "%x");
        ExpectAsPrintf(bits, "%li", "%lx");
        ExpectAsPrintf(static_cast<unsigned long long>(bits), "%llu", "%llx");
        ExpectAsPrintf(reinterpret_cast<void const*>(bits), "%p", "%p");
    }
}

TEST(StringAccumulatorTest, EachSettingLastsForOneItem) {
    StringAccumulator text;
    text << Width(4) << 1 << 2 << Comma;
    text.Width(4).Fill('*').Left() << "ab";
    text << '|' << Fill('0') << Width(3) << 'c' << 'd' << Comma;
    text.Upper().Hex() << 0xABCDEF << 0xAB;
    text.Lower() << "XyZ" << static_cast<unsigned char>('Q');
    text.Upper().Width(4).Fill('f') << "gh";
    text << "gh";
    text.Width(1) << "longer" << static_cast<char const*>(nullptr);
    text.Left().Right().Hex().Dec().Width(3) << 10;
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
        text << "start" << Width(500) << big.c_str();
        text.Left().Width(900).Upper() << big.c_str();
        text << 'x';
        heap.Disarm();
        EXPECT_EQ(text.Valid(), !heap.Fired());
        EXPECT_EQ(text, whole.substr(0, text.Size()).c_str());
        EXPECT_EQ(text.Size() == whole.size(), text.Valid());
        text.Clear() << 1 << 2;
        EXPECT_EQ(text, "12") << "no setting is left over";
    });
}
