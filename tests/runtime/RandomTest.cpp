#include "zeb/runtime/Random.h"
#include "tests/runtime/Worker.h"

namespace {

using namespace std::string_literals;

// A kernel with this randomness, asked as often as there are texts.
struct Kernel : Calls {
    explicit Kernel(std::vector<std::string> const& texts) {
        for (std::string const& text : texts) Script(SysCall::getrandom, {Calls::Data(text)});
    }
};

TEST(Random, MakesNumbersOfEightBytesAndAsksForAtMost256AtATime) {
    constexpr unsigned long VALUE = 0xF807060504030201;
    Kernel const kernel(std::vector<std::string>(5, "\1\2\3\4\5\6\7\xF8"));
    EXPECT_EQ(std::pair(Random::Get(), Random::GetAbs()), std::pair(VALUE, static_cast<long>(VALUE)));
    std::vector const made{Random::GetUniformInterval(10, 7), Random::GetUniformInterval(10, 0),
                           Random::GetUniformInterval(~0UL, 1)};
    EXPECT_EQ(made, (std::vector{10 + VALUE % 7, 10 + VALUE, ~0UL}));
    std::string const a(256, 'a'), b(256, 'b'), all = a + b + "xyz";
    std::string filled(all.size() + 1, '#');
    Buffer buffer;
    Kernel const blocks({a, b, "xyz", a, b, "xyz"});
    Random::Get(filled.data(), all.size()), Random::Get(filled.data(), 0);
    EXPECT_TRUE(Random::Get(buffer, all.size()) && buffer == CBuffer(CString(filled.data(), all.size())));
    EXPECT_EQ(filled, all + "#");
}

TEST(Random, LeavesOutZerosAndMakesTextOfLettersAndDigits) {
    std::string const letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789Ze", none(256, '\0');
    std::string sparse = none, bytes, expected, out(41, '#');
    for (unsigned i = 0; i < 256; bytes += static_cast<char>(i++))
        if (i % 8 == 3) expected += sparse[i] = static_cast<char>(i);
    Kernel const kernel({sparse, none, sparse, bytes, "?", "x"});
    String text, empty;
    Random::GetNz(reinterpret_cast<unsigned char*>(out.data()), 40);
    EXPECT_EQ(out, expected + expected.substr(0, 8) + "#");
    EXPECT_TRUE(Random::GetAsciiString(256, text) && Random::GetAsciiString(0, empty) && empty.Empty());
    EXPECT_EQ(text.Cstr(), letters + letters + letters + letters);
    ForEveryAllocation([](Heap& heap) {
        Buffer data;
        String made;
        Reported(heap, [&] { return int(Random::Get(data, 3)) + Random::GetAsciiString(5, made) == 2; });
        EXPECT_TRUE((data.Size() == 0 || data.Size() == 3) && (made.Empty() || made.Size() == 5));
        EXPECT_FALSE(Random::GetAsciiString(~0UL, made) || Random::GetAsciiString(~0UL >> 1, made));
    });
}

TEST(Random, WaitsForAllOfItsBytesWhetherItIsInterruptedOrNot) {
    AutoPtr<ThreadMain> const main(ThreadMain::New("test"));
    for (bool const isInterrupted : {false, true}) {
        if (isInterrupted) RunInWorker([self = Thread::Self()] { self->Interrupt(); });
        Clock const clock(Clock::ModeT::AUTO);
        LogCapture log;
        Calls calls;
        char data[4];
        calls.Script(SysCall::getrandom, {Calls::Fail(EAGAIN), Calls::Data("ab"), Calls::Return(0), Calls::Data("abcd")});
        Random::Get(data, sizeof data);
        EXPECT_EQ(std::tuple(std::string(data, 4), clock.Moved(), Thread::SelfInterrupted()),
                  std::tuple("abcd"s, 999000000L, isInterrupted));
        std::string const failed = "C Random: system failed [0xcffd****], unable to get ",
                          few = failed + "sufficient entropy: get ";
        EXPECT_EQ(log.Take(), (LinesT{failed + "random: resource temporarily unavailable.", few + "2 instead of 4.",
                                      few + "0 instead of 4."}));
    }
}

} // namespace
