#include "zeb/runtime/Mapper.h"
#include "tests/runtime/Worker.h"
#include "zeb/runtime/KernelBacktrace.h"

#include <sstream>

namespace {

using Linux::AddressSpace::Mapper;

// "base path size", or the error number.
std::string Ask(Mapper& mapper, unsigned long address, unsigned long room = 200) {
    std::string file(room + 1, '#');
    unsigned long base = 1, size = room;
    int const result = mapper.Get(reinterpret_cast<void*>(address), base, file.data(), &size);
    int const error = errno;
    EXPECT_EQ(file[room], '#') << "written behind the room";
    EXPECT_TRUE(result == 0 || result == -1);
    return result != 0 ? std::to_string(error) : std::to_string(base) + " " + file.c_str() + " " + std::to_string(size);
}

std::string const FIRST = "1000-2000 r-xp 00000000 08:01 131 /usr/bin/x\n", IN_FIRST = "4096 /usr/bin/x 11", NONE = "0  1";
std::string const LAST = "ffffffffff600000-ffffffffffffffff --xp 00000000 00:00 0  [vsyscall]\n", BAD = std::to_string(EILSEQ);

TEST(Mapper, FindsTheMappingOfAnAddress) {
    std::string const deep = "/" + std::string(150, 'd') + "/e f";
    std::tuple<std::string, unsigned long, std::string> const rows[] = {
        // clang-format off
        {FIRST, 0x1000, IN_FIRST}, {FIRST, 0x1FFF, IN_FIRST}, {FIRST, 0xFFF, NONE}, {FIRST, 0x2000, NONE}, {"", 0, NONE},
        {FIRST + LAST, ~0UL - 1, "18446744073699065856 [vsyscall] 11"}, {FIRST + LAST, ~0UL, NONE},
        {"0-1 ---p 0 0:0 0\n", 0, NONE}, {FIRST + "2000-3000 -w-s 0 0:0 0\n" + LAST, 0x2000, "8192  1"},
        {FIRST + "behind the hit nothing is read", 0x1000, IN_FIRST}, {FIRST + "2000-3000 rwxp 0 0:0 12", 0x2000, "8192  1"},
        {"2000-3000 rw-S 0 fff:fffff 18446744073709551615   \n", 0x2000, "8192  1"},
        {"2000-3000 ---p FFFFFFFFFFFFFFFF 0:0 1 " + deep + "\n" + LAST, 0x2001, "8192 " + deep + " 156"},
        {FIRST + "2000-3000 rwxp 0 0:0 1     /a (deleted)", 0x2000, "8192 /a (deleted) 13"}};
    // clang-format on
    TempDir const dir;
    for (auto const& [text, address, expected] : rows) {
        Mapper mapper(dir.Write("maps", text).c_str());
        EXPECT_EQ(Ask(mapper, address), expected) << text;
        Calls calls; // byte by byte, and interrupted
        calls.Script(SysCall::read, {Calls::Fail(EINTR), Calls::Short(1), Calls::Fail(EAGAIN)}, text.size() + 1);
        EXPECT_EQ(Ask(mapper, address), expected) << text;
        calls.Clear();
    }
}

TEST(Mapper, RefusesAnotherForm) {
    std::string const good = "1000-2000 r-xp 00000000 08:01 131 /usr/bin/x";
    std::string texts =
        "1-10000000000000000 r--p 0 0:0 0|1-2 r--p 10000000000000000 0:0 0|1-2 r--p 0 1000:0 0|\n|1-2 r--p 0 0:0 a|"
        "1-2 r--p 0 0:100000 0|1-2 r--p 0 0:0 18446744073709551616|-2 r--p 0 0:0 0|1-2-r--p 0 0:0 0|1- r--p 0 0:0 0|"
        "1-2 r--p  0:0 0|1-2 r--p 0 :0 0|1-2 r--p 0 0: 0|1-2 r--p 0 0:0 |1-2 w--p 0 0:0 0|1-2 rr-p 0 0:0 0|"
        "1-2 r-rp 0 0:0 0|1-2 r--- 0 0:0 0|1-2 r--pp 0 0:0 0|1 2 r--p 0 0:0 0";
    for (unsigned long size = 1; size <= good.find("131"); ++size) { // cut, and a wrong character in each place
        std::string const part = good.substr(0, size);
        texts += "|" + part + "|" + FIRST + part + "|" + part + "\n|" + part.substr(0, size - 1) + "~" + good.substr(size);
    }
    Mapper mapper;
    std::istringstream rows(texts);
    for (std::string text; std::getline(rows, text, '|');) {
        Calls calls;
        calls.Script(SysCall::read, {Calls::Data(text), Calls::Return(0)});
        EXPECT_EQ(Ask(mapper, 0x3000), BAD) << text;
        calls.Clear();
    }
}

TEST(Mapper, CutsAPathAndTellsItsErrors) {
    TempDir const dir;
    Mapper mapper(dir.Write("maps", FIRST).c_str()), absent((dir / "absent").c_str());
    std::pair<unsigned long, std::string> const rooms[] = {
        {0, std::to_string(EINVAL)}, {1, "4096  1"}, {10, "4096 /usr/bin/ 10"}, {11, IN_FIRST}};
    for (auto const& [room, expected] : rooms) EXPECT_EQ(Ask(mapper, 0x1000, room), expected);
    unsigned long base, size = 5;
    char file[5];
    EXPECT_EQ(mapper.Get(nullptr, base, nullptr, &size) + mapper.Get(nullptr, base, file, nullptr), -2);
    Calls calls;
    calls.Script(SysCall::lseek, {Calls::Fail(ESPIPE)});
    calls.Script(SysCall::read, {Calls::Short(5), Calls::Fail(EIO)});
    for (int const error : {ENOENT, ESPIPE, EIO})
        EXPECT_EQ(Ask(error == ENOENT ? absent : mapper, 0x1000), std::to_string(error));
}

char file[300];
int results[2];

void Handle(int) {
    char buffer[64], name[64];
    unsigned long number, size = sizeof file;
    results[0] = Mapper().Get(reinterpret_cast<void const*>(&Handle), number, file, &size);
    Linux::KernelBacktrace stack(static_cast<unsigned long long>(getpid()), buffer, sizeof buffer);
    while ((results[1] = stack.Step()) > 0)
        if (stack.GetFrame(number, name, 64, number, number, name, 64, number) < 0) break;
}

TEST(Mapper, WorksInASignalHandlerWithoutMemoryAsTheKernelBacktrace) {
    auto* const before = signal(SIGUSR2, Handle);
    Heap heap(1, Heap::ModeT::FOREVER);
    heap.Arm(), raise(SIGUSR2), heap.Disarm(), signal(SIGUSR2, before);
    EXPECT_EQ(heap.Calls(), 0u);
    EXPECT_TRUE(results[0] == 0 && std::string(file).ends_with("/runtime_test")) << file;
    EXPECT_TRUE(results[1] == 0 || results[1] == -ENOENT || results[1] == -EPERM) << results[1]; // as the kernel is built
}

} // namespace
