#include "zeb/runtime/Random.h"
#include "workbench/Calls.h"
#include "workbench/Clock.h"
#include "workbench/Heap.h"
#include "workbench/LogCapture.h"
#include "zeb/core/Buffer.h"
#include "zeb/core/String.h"
#include "zeb/runtime/Thread.h"

#include <gtest/gtest.h>

namespace {

// A kernel with this randomness, asked as often as there are texts, and no more.
class Kernel {
public:
    explicit Kernel(std::initializer_list<std::string> texts) {
        for (std::string const& text : texts)
            calls_.Script(SysCall::getrandom, {Calls::Data(text)});
    }
    ~Kernel() { EXPECT_EQ(calls_.Left(SysCall::getrandom), 0u); }

private:
    Calls calls_;
};

std::string const EIGHT("\1\2\3\4\5\6\7\xF8", 8);
constexpr unsigned long VALUE = 0xF807060504030201;

TEST(Random, MakesNumbersOfEightBytes) {
    Kernel const kernel({EIGHT, EIGHT, EIGHT, EIGHT, EIGHT});
    EXPECT_EQ(Random::Get(), VALUE);
    EXPECT_EQ(Random::GetAbs(), static_cast<long>(VALUE));
    EXPECT_EQ(Random::GetUniformInterval(10, 7), 10 + VALUE % 7);
    EXPECT_EQ(Random::GetUniformInterval(10, 0), 10 + VALUE);
    EXPECT_EQ(Random::GetUniformInterval(~0UL, 1), ~0UL);
}

TEST(Random, AsksForAtMost256BytesAtATime) {
    std::string const a(256, 'a'), b(256, 'b');
    for (auto const& texts : {std::vector<std::string>{}, {"x"}, {a}, {a, "x"}, {a, b, "xyz"}}) {
        Calls calls;
        std::string all, filled;
        for (std::string const& text : texts)
            all += text;
        for (unsigned i = 0; i < 2 * texts.size(); ++i)
            calls.Script(SysCall::getrandom, {Calls::Data(texts[i % texts.size()])});
        filled.assign(all.size() + 1, '#');
        Random::Get(filled.data(), all.size());
        EXPECT_EQ(filled, all + "#");
        Buffer buffer;
        EXPECT_TRUE(Random::Get(buffer, all.size()));
        EXPECT_TRUE(buffer == CBuffer(CString(all.data(), all.size())));
    }
}

TEST(Random, LeavesOutZeros) {
    std::string sparse(256, '\0'), expected;
    for (unsigned i = 0; i < 256; i += 8)
        expected += sparse[i + 3] = static_cast<char>(1 + i / 8);
    Kernel const kernel({sparse, std::string(256, '\0'), sparse});
    std::string out(41, '#');
    Random::GetNz(reinterpret_cast<unsigned char*>(out.data()), 40);
    Random::GetNz(nullptr, 0);
    EXPECT_EQ(out, expected + expected.substr(0, 8) + "#");
}

TEST(Random, MakesTextOfLettersAndDigits) {
    std::string bytes;
    for (unsigned i = 0; i < 256; ++i)
        bytes += static_cast<char>(i);
    std::string const letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789Ze";
    Kernel const kernel({bytes, "?", "x"});
    String text;
    EXPECT_TRUE(Random::GetAsciiString(256, text));
    EXPECT_EQ(text.Cstr(), letters + letters + letters + letters);
    EXPECT_TRUE(Random::GetAsciiString(0, text) && text.Empty());
}

TEST(Random, TellsThatMemoryRanOut) {
    ForEveryAllocation([](Heap& heap) {
        Buffer bytes;
        String text;
        heap.Arm();
        bool const filled = Random::Get(bytes, 3);
        bool const made = Random::GetAsciiString(5, text);
        heap.Disarm();
        EXPECT_EQ(heap.Fired(), !filled || !made);
        EXPECT_EQ(bytes.Size(), filled ? 3u : 0u);
        EXPECT_EQ(text.Size(), made ? 5u : 0u);
    });
    String text;
    EXPECT_FALSE(Random::GetAsciiString(~0UL, text) || Random::GetAsciiString(~0UL >> 1, text));
}

TEST(Random, WaitsForAllOfItsBytes) {
    Clock const clock(Clock::ModeT::AUTO);
    LogCapture log;
    Calls calls;
    unsigned char data[4];
    calls.Script(SysCall::getrandom,
                 {Calls::Fail(EAGAIN), Calls::Data("ab"), Calls::Return(0), Calls::Data("abcd")});
    Random::Get(data, sizeof data);
    EXPECT_EQ(std::string(data, data + 4), "abcd");
    EXPECT_EQ(clock.Moved(), 3 * 333000000);
    std::string const failed = "C Random: system failed [0xcffd****], unable to get ";
    EXPECT_EQ(log.Take(), LogCapture::LinesT({failed + "random: resource temporarily unavailable.",
                                              failed + "sufficient entropy: get 2 instead of 4.",
                                              failed + "sufficient entropy: get 0 instead of 4."}));
}

} // namespace
