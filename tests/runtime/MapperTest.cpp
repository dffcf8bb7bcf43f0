#include "zeb/runtime/Mapper.h"
#include "tests/runtime/Worker.h"
#include "workbench/Feed.h"
#include "zeb/runtime/KernelBacktrace.h"

#include <sstream>

namespace {

using Linux::AddressSpace::Mapper;

// "base path size", or the error number.
std::string Ask(Mapper& mapper, unsigned long address, unsigned long room = 200) {
    std::string file(room + 1, '#');
    unsigned long base = 1, size = room;
    int const result = mapper.Get(reinterpret_cast<void*>(address), base, file.data(), &size), error = errno;
    EXPECT_EQ(file[room], '#') << "written behind the room";
    if (result != 0) return std::to_string(result) + " " + std::to_string(error);
    return std::to_string(base) + " " + file.c_str() + " " + std::to_string(size);
}

std::string const FIRST = "1000-2000 r-xp 00000000 08:01 131 /usr/bin/x\n", IN_FIRST = "4096 /usr/bin/x 11", NONE = "0  1";
std::string const LAST = "ffffffffff600000-ffffffffffffffff --xp 00000000 00:00 0  [vsyscall]\n", DEEP = std::string(150, 'd');
std::string const BAD = "-1 " + std::to_string(EILSEQ);

TEST(Mapper, FindsTheMappingOfAnAddressAndRefusesAnotherForm) {
    std::vector<std::tuple<std::string, unsigned long, std::string>> rows = {
        // clang-format off
        {FIRST, 0x1000, IN_FIRST}, {FIRST, 0x1FFF, IN_FIRST}, {FIRST, 0xFFF, NONE}, {FIRST, 0x2000, NONE}, {"", 0, NONE},
        {FIRST + LAST, ~0UL - 1, "18446744073699065856 [vsyscall] 11"}, {FIRST + LAST, ~0UL, NONE},
        {FIRST + "2000-3000 -w-s 0 0:0 0\n" + LAST, 0x2000, "8192  1"}, {FIRST + "behind a hit all goes", 0x1000, IN_FIRST},
        {FIRST + "2-3 rwxp 0 0:0 12", 2, "2  1"}, {FIRST + "2-3 r--p 0 0:0 1  /a (deleted)", 2, "2 /a (deleted) 13"},
        {"2-3 rw-S 0 fff:fffff 18446744073709551615   \n", 2, "2  1"}, {"0-1 ---p 0 0:0 0\n", 0, NONE},
        {"2-3 ---p FFFFFFFFFFFFFFFF 0:0 1 /" + DEEP + "/e f\n" + LAST, 2, "2 /" + DEEP + "/e f 156"}};
    // clang-format on
    std::istringstream refused(
        "1-10000000000000000 r--p 0 0:0 0|1-2 r--p 10000000000000000 0:0 0|1-2 r--p 0 1000:0 0|1-2 r--p 0 0:100000 0|\n|"
        "1-2 r--p 0 0:0 18446744073709551616|1-2 w--p 0 0:0 0|1-2 rr-p 0 0:0 0|1-2 r-rp 0 0:0 0|1-2 r--- 0 0:0 0|1-2 r--p 0 0:0 "
        "a|");
    for (std::string text; std::getline(refused, text, '|');) rows.emplace_back(text, 9, BAD);
    for (std::string const& text : Damaged("1-2 r-xp 0 3:4 5", '~'))
        for (std::string const& all : {text, FIRST + text, text + "\n"}) rows.emplace_back(all, 9, BAD);
    for (auto const& [text, address, expected] : rows)
        ForEveryRead(text, [&text = text, &address = address, &expected = expected](char const* path) {
            Mapper mapper(path);
            for (int i = 0; i < 2; ++i) EXPECT_EQ(Ask(mapper, address), expected) << text;
        });
}

TEST(Mapper, CutsAPathAndTellsItsErrors) {
    TempDir const dir;
    Mapper mapper(dir.Write("maps", FIRST).c_str()), absent((dir / "absent").c_str());
    EXPECT_EQ(Ask(mapper, 0x1000, 0) + "|" + Ask(mapper, 0x1000, 1) + "|" + Ask(mapper, 0x1000, 10) + "|" +
                  Ask(mapper, 0x1000, 11),
              "-1 22|4096  1|4096 /usr/bin/ 10|" + IN_FIRST);
    unsigned long base, size = 5;
    EXPECT_EQ(mapper.Get(nullptr, base, nullptr, &size) + mapper.Get(nullptr, base, reinterpret_cast<char*>(&base), nullptr), -2);
    Calls calls;
    calls.Script(SysCall::lseek, {Calls::Fail(ESPIPE)});
    calls.Script(SysCall::read, {Calls::Short(5), Calls::Fail(EIO)});
    for (char const* const expected : {"-1 29", "-1 5"}) EXPECT_EQ(Ask(mapper, 0x1000), expected);
    EXPECT_EQ(Ask(absent, 0x1000), "-1 2");
}

char file[300];
int results[2];

void Handle(int) {
    char buffer[64], name[64];
    unsigned long number, size = sizeof file;
    results[0] = Mapper().Get(reinterpret_cast<void const*>(&Handle), number, file, &size);
    Linux::KernelBacktrace stack(static_cast<unsigned long long>(getpid()), buffer, sizeof buffer);
    do results[1] = stack.Step();
    while (results[1] > 0 && stack.GetFrame(number, name, 64, number, number, name, 64, number) > 0);
}

TEST(Mapper, WorksInASignalHandlerWithoutMemoryAsTheKernelBacktrace) {
    auto* const before = signal(SIGUSR2, Handle);
    Heap heap(1, Heap::ModeT::FOREVER);
    heap.Arm(), raise(SIGUSR2), heap.Disarm(), signal(SIGUSR2, before);
    EXPECT_EQ(std::pair(heap.Calls(), results[0]), std::pair(0ul, 0));
    EXPECT_TRUE(std::string(file).ends_with("/runtime_test")) << file;
    EXPECT_THAT(results[1], testing::AnyOf(0, -ENOENT, -EPERM)); // as the kernel is built
}

} // namespace
