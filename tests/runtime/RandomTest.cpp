#include "zeb/runtime/Random.h"
#include "tests/runtime/Worker.h"

namespace {

using namespace std::string_literals;

TEST(Random, MakesNumbersBytesAndTextOfWhatTheKernelGivesInBlocksOfAtMost256Bytes) {
    constexpr unsigned long VALUE = 0xF807060504030201;
    std::string const eight = "\1\2\3\4\5\6\7\xF8", a(256, 'a'), b(256, 'b'), c = "xyz", all = a + b + c, none(256, '\0');
    std::string const letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789Ze";
    std::string sparse = none, bytes, expected, filled(all.size() + 1, '#'), out(41, '#');
    for (unsigned i = 0; i < 256; bytes += static_cast<char>(i++))
        if (i % 8 == 3) expected += sparse[i] = static_cast<char>(i);
    Calls kernel;
    for (auto const& text : {eight, eight, eight, eight, eight, a, b, c, a, b, c, sparse, none, sparse, bytes, "?"s, "x"s})
        kernel.Script(SysCall::getrandom, {Calls::Data(text)});
    EXPECT_EQ(std::pair(Random::Get(), Random::GetAbs()), std::pair(VALUE, static_cast<long>(VALUE)));
    for (auto const& [base, span, made] : {std::tuple(10ul, 7, 10 + VALUE % 7), {10, 0, 10 + VALUE}, {~0ul, 1, ~0ul}})
        EXPECT_EQ(Random::GetUniformInterval(base, static_cast<unsigned long>(span)), made);
    Buffer buffer;
    String text, empty;
    Random::Get(filled.data(), all.size()), Random::Get(filled.data(), 0);
    EXPECT_TRUE(Random::Get(buffer, all.size()) && buffer == CBuffer(CString(filled.data(), all.size())));
    EXPECT_EQ(filled, all + "#");
    Random::GetNz(reinterpret_cast<unsigned char*>(out.data()), 40);
    EXPECT_EQ(out, expected + expected.substr(0, 8) + "#");
    EXPECT_TRUE(Random::GetAsciiString(256, text) && Random::GetAsciiString(0, empty) && empty.Empty());
    EXPECT_EQ(text.Cstr(), letters + letters + letters + letters);
}

TEST(Random, TellsThatMemoryRanOut) {
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
