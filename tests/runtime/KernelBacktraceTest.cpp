#include "zeb/runtime/KernelBacktrace.h"
#include "tests/runtime/Worker.h"

#include <sstream>

namespace {

using Linux::KernelBacktrace;

// What GetFrame() tells: "ip name+offset module nameLength moduleLength", or its result.
std::string Frame(KernelBacktrace& stack, unsigned long nameRoom = 300, unsigned long moduleRoom = 300) {
    std::string name(nameRoom + 1, '#'), module(moduleRoom + 1, '#');
    unsigned long ip, offset, names, modules;
    int const result = stack.GetFrame(ip, name.data(), nameRoom, names, offset, module.data(), moduleRoom, modules);
    EXPECT_TRUE(name[nameRoom] == '#' && module[moduleRoom] == '#') << "written behind the room";
    if (result != 1) return std::to_string(result);
    return std::to_string(ip) + " " + (nameRoom == 0 ? "" : name.c_str()) + "+" + std::to_string(offset) + " " +
           (moduleRoom == 0 ? "" : module.c_str()) + " " + std::to_string(names) + " " + std::to_string(modules);
}

// All frames, each asked for twice, and then the result of the last Step().
std::string Walk(KernelBacktrace& stack) {
    std::string all = Frame(stack) + "|";
    int result;
    while ((result = stack.Step()) == 1) {
        all += Frame(stack) + "|";
        EXPECT_EQ(all.substr(all.rfind('|', all.size() - 2) + 1), Frame(stack) + "|");
    }
    EXPECT_EQ(stack.Step(), result);
    return all + Frame(stack) + "|" + std::to_string(result);
}

std::string const LONG(150, 'n'), BAD = std::to_string(-EILSEQ);

TEST(KernelBacktrace, WalksThroughTheFramesInBuffersOfAnySize) {
    std::string const lines = "[<0>] do_poll.constprop.0+0x1a/0x30\n[<ffffffff81234567>] sys_poll+0xFF/0x100 [fuse]\n"
                              "[<0xabc>] 0x+0x1/0x2 [m]\nno such line\n[<0>] " +
                              LONG + "+0x0/0xffffffffffffffff [" + LONG + "]\n\n[<ffffffffffffffff>] 0xffffffffffffffff\n";
    std::string const expected = "0|0 do_poll.constprop.0+26  20 1|18446744071581156711 sys_poll+255 fuse 9 5|2748 0x+1 m 3 2|" +
                                 BAD + "|0 " + LONG + "+0 " + LONG + " 151 151|" + BAD +
                                 "|18446744073709551615 0xffffffffffffffff+0  19 1|0|0";
    TempDir const dir;
    std::string const path = dir.Write("stack", lines), open = dir.Write("open", lines.substr(0, lines.size() - 1));
    for (unsigned long const size : {1, 2, 7, 38, 64, 400, 2000}) {
        std::string buffer(size, '#');
        KernelBacktrace stack(path.c_str(), buffer.data(), size), noEnd(open.c_str(), buffer.data(), size);
        EXPECT_EQ(Walk(stack), expected) << size;
        Calls calls;
        calls.Script(SysCall::read, {Calls::Fail(EINTR), Calls::Short(1), Calls::Fail(EAGAIN)}, 2000);
        EXPECT_EQ(Walk(noEnd), expected) << size;
        calls.Clear();
    }
}

TEST(KernelBacktrace, RefusesLinesOfAnotherForm) {
    std::string const good = "[<1>] f+0x2/0x3 [m]";
    std::string texts = "[<>] f+0x2/0x3|[<0x>] f+0x2/0x3|[<1x1>] f+0x2/0x3|[<10000000000000000>] f+0x2/0x3|[<1>] +0x2/0x3|"
                        "[<1>] f+0x/0x3|[<1>] f+0x2/0x|[<1>] f+0x2/0x3 []|[<1>] f+0x2/0x3 [m] |[<1>] 0x|[<1>] 0y1|[<1>] 1x1|"
                        "[<1>] 0x1g|[<1>] 0x10000000000000000|[<1>] f+0x10000000000000000/0x1";
    for (unsigned long i = 0; i < good.size(); ++i) {
        if (good[i] != 'f' && good[i] != 'm') texts += "|" + good.substr(0, i) + "\x7F" + good.substr(i + 1);
        if (i != good.find(" [")) texts += "|" + good.substr(0, i);
    }
    std::istringstream rows(texts);
    for (std::string text; std::getline(rows, text, '|');) {
        char buffer[128];
        KernelBacktrace stack("/dev/null", buffer, sizeof buffer);
        Calls calls;
        calls.Script(SysCall::read, {Calls::Data(text + "\n")});
        EXPECT_EQ(Walk(stack), "0|" + BAD + "|0|0") << text;
        calls.Clear();
    }
}

TEST(KernelBacktrace, TellsTheRoomThatItNeedsAndErrorsOfTheSystem) {
    TempDir const dir;
    char buffer[64];
    std::string const path = dir.Write("stack", "[<5>] name+0x2/0x3 [mod]\n[<6>] x+0x2/0x3\n"), first = "5 name+2 mod 5 4";
    KernelBacktrace stack(path.c_str(), buffer, 4);
    Calls calls;
    calls.Script(SysCall::read, {Calls::Fail(EIO), Calls::Real(), Calls::Fail(EPERM)});
    EXPECT_TRUE(stack.Step() == -EIO && stack.Step() == 1);
    EXPECT_EQ((std::pair{Frame(stack), Frame(stack)}), std::pair(std::to_string(-EPERM), first));
    calls.Script(SysCall::lseek, {Calls::Fail(EBADF)});
    EXPECT_EQ(Frame(stack), std::to_string(-EBADF));
    std::tuple<unsigned long, unsigned long, std::string> const rooms[] = {
        {0, 0, "5 +2  5 4"}, {1, 4, "5 +2 mod 5 4"}, {4, 3, "5 nam+2 mo 5 4"}, {5, 1, "5 name+2  5 4"}};
    for (auto const& [nameRoom, moduleRoom, expected] : rooms) EXPECT_EQ(Frame(stack, nameRoom, moduleRoom), expected);
    EXPECT_TRUE(stack.Step() == 1 && Frame(stack) == "6 x+2  2 1");
    struct {
        KernelBacktrace stack;
        int error;
    } rows[] = {{{1ULL << 40, buffer, 64}, ENOENT}, {{~0ULL, buffer, 32}, EINVAL},       {{~0ULL, buffer, 33}, ENOENT},
                {{7, nullptr, 64}, EINVAL},         {{path.c_str(), buffer, 0}, EINVAL}, {{"/nowhere", buffer, 64}, ENOENT}};
    for (auto& row : rows)
        EXPECT_EQ((std::pair{row.stack.Step(), Frame(row.stack)}), std::pair(-row.error, std::to_string(-row.error)));
}

} // namespace
