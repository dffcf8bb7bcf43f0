#include "zeb/runtime/KernelBacktrace.h"
#include "tests/runtime/Worker.h"
#include "workbench/Feed.h"

#include <sstream>

namespace {

using Linux::KernelBacktrace;

// What GetFrame() tells: "ip name+offset module nameLength moduleLength" ("#" without room), or its result.
std::string Frame(KernelBacktrace& stack, unsigned long nameRoom = 300, unsigned long moduleRoom = 300) {
    std::string name(nameRoom + 1, '#'), module(moduleRoom + 1, '#');
    unsigned long ip, offset, names, modules;
    int const result = stack.GetFrame(ip, name.data(), nameRoom, names, offset, module.data(), moduleRoom, modules);
    EXPECT_EQ((std::string{name[nameRoom], module[moduleRoom]}), "##") << "written behind the room";
    std::ostringstream text;
    text << ip << " " << name.c_str() << "+" << offset << " " << module.c_str() << " " << names << " " << modules;
    return result == 1 ? text.str() : std::to_string(result);
}

std::string Step(KernelBacktrace& stack) {
    int const result = stack.Step();
    return std::to_string(result) + " " + Frame(stack);
}

TEST(KernelBacktrace, WalksThroughTheFramesInBuffersOfAnySizeAndPassesOverOtherLines) {
    std::string const good = "[<1>] f+0x2/0x3 [m]", bad = "1 " + std::to_string(-EILSEQ) + "|", name(150, 'n');
    std::string expected,
        lines = "\n[<0x>] f+0x2/0x3\n[<1x1>] f+0x2/0x3\n[<00x1>] f+0x2/0x3\n[<10000000000000000>] f+0x2/0x3\n[<1>] 0y1\n"
                "[<1>] f+0x10000000000000000/0x1\n[<1>] f+0x2/0x3 [m\n]\n[<1>] f+0x2/0x3 [m] \n[<1>] 0x\n[<1>] 1x1\n[<1>] 0x1g\n"
                "[<1>] 0x10000000000000000\n";
    for (std::string const& text : Damaged(good, '~'))
        if (text != good.substr(0, 15) && text.find('~') != 6 && !text.ends_with("~]")) lines += text + "\n"; // another name
    for (char const c : lines) expected += c == '\n' ? bad : "";
    lines +=
        "[<0>] do_poll.constprop.0+0x1a/0x30\n[<ffffffff81234567>] sys_poll+0xFF/0x100 [fuse]\n[<0xabc>] 0x+0x1/0x2 [m]\n[<0>] " +
        name + "+0x0/0xffffffffffffffff [" + name + "]\n[<2>] 0x3\n[<ffffffffffffffff>] 0xffffffffffffffff";
    expected += "1 0 do_poll.constprop.0+26  20 1|1 18446744071581156711 sys_poll+255 fuse 9 5|1 2748 0x+1 m 3 2|1 0 " + name +
                "+0 " + name + " 151 151|1 2 0x3+0  4 1|1 18446744073709551615 0xffffffffffffffff+0  19 1|0 0|0 0|";
    for (unsigned long const size : {1, 2, 7, 38, 64, 400, 4000})
        ForEveryRead(lines + (size % 2 == 0 ? "\n" : ""), [&](char const* path) {
            std::string buffer(size, '#'), all;
            KernelBacktrace stack(path, buffer.data(), size);
            EXPECT_EQ(Frame(stack), "0");
            while (!all.ends_with("|0 0|0 0|") && all.size() < 9999) all += Step(stack) + "|";
            EXPECT_EQ(all, expected) << size;
        });
}

TEST(KernelBacktrace, TellsTheRoomThatItNeedsAndErrorsOfTheSystem) {
    TempDir const dir;
    char buffer[64];
    std::string const path = dir.Write("stack", "[<5>] name+0x2/0x3 [mod]\n[<6>] x+0x2/0x3\n");
    KernelBacktrace absent("/nowhere", buffer, 64), noRoom(path.c_str(), buffer, 0), gone(1ULL << 40, buffer, 64),
        tight(~0ULL, buffer, 32), fitting(~0ULL, buffer, 33), null(7, nullptr, 64), stack(path.c_str(), buffer, 4);
    EXPECT_STREQ(buffer, "/proc/18446744073709551615/stack");
    for (KernelBacktrace* const failed : {&absent, &gone, &fitting}) EXPECT_EQ(Step(*failed), "-2 -2");
    for (KernelBacktrace* const failed : {&noRoom, &tight, &null}) EXPECT_EQ(Step(*failed), "-22 -22");
    Calls calls;
    calls.Script(SysCall::read, {Calls::Fail(EIO), Calls::Real(), Calls::Fail(EPERM)});
    calls.Script(SysCall::lseek, {Calls::Real(), Calls::Fail(EBADF)});
    for (char const* const expected : {"-5 0", "1 -1"}) EXPECT_EQ(Step(stack), expected);
    for (char const* const expected : {"5 name+2 mod 5 4", "-9", "5 name+2 mod 5 4"}) EXPECT_EQ(Frame(stack), expected);
    EXPECT_EQ(Frame(stack, 0, 0) + "|" + Frame(stack, 1, 4) + "|" + Frame(stack, 4, 3) + "|" + Frame(stack, 5, 1),
              "5 #+2 # 5 4|5 +2 mod 5 4|5 nam+2 mo 5 4|5 name+2  5 4");
    EXPECT_EQ(Step(stack), "1 6 x+2  2 1");
}

} // namespace
