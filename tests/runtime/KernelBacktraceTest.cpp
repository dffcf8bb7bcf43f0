#include "zeb/runtime/KernelBacktrace.h"
#include "workbench/Calls.h"
#include "workbench/Heap.h"
#include "workbench/TempDir.h"

#include <gtest/gtest.h>
#include <sstream>

#include <unistd.h>

namespace {

using Linux::KernelBacktrace;

// What GetFrame() tells.
std::string Frame(KernelBacktrace& stack, unsigned long nameRoom = 300, unsigned long moduleRoom = 300) {
    std::string name(nameRoom + 1, '#'), module(moduleRoom + 1, '#');
    unsigned long ip = 1, offset = 1, nameLength = 1000, moduleLength = 1000;
    int const result = stack.GetFrame(ip, name.data(), nameRoom, nameLength, offset, module.data(),
                                      moduleRoom, moduleLength);
    EXPECT_TRUE(name[nameRoom] == '#' && module[moduleRoom] == '#') << "written behind the room";
    if (result != 1) return std::to_string(result);
    std::ostringstream out;
    out << std::hex << ip << " " << (nameRoom == 0 ? "" : name.c_str()) << "+" << offset << " "
        << (moduleRoom == 0 ? "" : module.c_str()) << std::dec << " " << nameLength << " " << moduleLength;
    return out.str();
}

// All frames, each asked for twice, and then the result of the last Step().
std::string Walk(KernelBacktrace& stack) {
    std::string all;
    EXPECT_EQ(Frame(stack), "0") << "ahead of the first one";
    int result;
    while ((result = stack.Step()) == 1) {
        std::string const frame = Frame(stack);
        EXPECT_EQ(Frame(stack), frame);
        all += frame + "|";
    }
    EXPECT_EQ(Frame(stack), "0");
    EXPECT_EQ(stack.Step(), result);
    return all + std::to_string(result);
}

std::string const LONG(150, 'n');
std::string const BAD = std::to_string(-EILSEQ);

TEST(KernelBacktrace, WalksThroughTheFramesInBuffersOfAnySize) {
    std::string const lines = "[<0>] do_poll.constprop.0+0x1a/0x30\n"
                              "[<ffffffff81234567>] sys_poll+0xFF/0x100 [fuse]\n"
                              "[<0xabc>] 0x+0x1/0x2 [m]\n"
                              "no such line\n"
                              "[<0>] " +
                              LONG + "+0x0/0xffffffffffffffff [" + LONG +
                              "]\n"
                              "\n"
                              "[<ffffffffffffffff>] 0xffffffffffffffff\n";
    std::string const expected =
        "0 do_poll.constprop.0+1a  20 1|ffffffff81234567 sys_poll+ff fuse 9 5|abc 0x+1 m 3 2|" + BAD + "|0 " +
        LONG + "+0 " + LONG + " 151 151|" + BAD + "|ffffffffffffffff 0xffffffffffffffff+0  19 1|0";
    TempDir const dir;
    std::string const path = dir.Write("stack", lines),
                      open = dir.Write("open", lines.substr(0, lines.size() - 1));
    for (unsigned long const size : {1, 2, 7, 38, 64, 400, 2000}) {
        std::string buffer(size, '#');
        KernelBacktrace stack(path.c_str(), buffer.data(), size), noEnd(open.c_str(), buffer.data(), size);
        EXPECT_EQ(Walk(stack), expected) << size;
        EXPECT_EQ(Walk(noEnd), expected) << size;
        KernelBacktrace halting(path.c_str(), buffer.data(), size);
        Calls calls;
        calls.Script(SysCall::read, {Calls::Fail(EINTR), Calls::Short(1), Calls::Fail(EAGAIN)}, 2000);
        EXPECT_EQ(Walk(halting), expected) << size;
        calls.Clear();
    }
}

TEST(KernelBacktrace, RefusesLinesOfAnotherForm) {
    std::string const good = "[<1>] f+0x2/0x3 [m]";
    std::vector<std::string> texts;
    for (unsigned long i = 0; i < good.size(); ++i) {
        texts.push_back(good);
        texts.back()[i] = '\x7F';
        if (i != good.find(" [")) texts.push_back(good.substr(0, i) + "\n");
    }
    texts.insert(texts.end(), {"[<>] f+0x2/0x3\n", "[<0x>] f+0x2/0x3\n", "[<1x1>] f+0x2/0x3\n",
                               "[<10000000000000000>] f+0x2/0x3\n", "[<1>] +0x2/0x3\n", "[<1>] f+0x/0x3\n",
                               "[<1>] f+0x2/0x\n", "[<1>] f+0x2/0x3 []\n", "[<1>] f+0x2/0x3 [m] \n",
                               "[<1>] 0x\n", "[<1>] 0y1\n", "[<1>] 1x1\n", "[<1>] 0x1g\n",
                               "[<1>] 0x10000000000000000\n", "[<1>] f+0x10000000000000000/0x1\n"});
    for (std::string const& text : texts) {
        char buffer[128];
        KernelBacktrace stack("/dev/null", buffer, sizeof buffer);
        Calls calls;
        calls.Script(SysCall::read, {Calls::Data(text)});
        bool const isName = text == "[<1>] \x7F+0x2/0x3 [m]", isModule = text == "[<1>] f+0x2/0x3 [\x7F]";
        EXPECT_EQ(Walk(stack), isName         ? "1 \x7F+2 m 2 2|0"
                               : isModule     ? "1 f+2 \x7F 2 2|0"
                               : text.empty() ? "0"
                                              : BAD + "|0")
            << text;
        calls.Clear();
    }
}

TEST(KernelBacktrace, TellsTheRoomThatItNeeds) {
    TempDir const dir;
    char buffer[64];
    KernelBacktrace stack(dir.Write("stack", "[<5>] name+0x2/0x3 [mod]\n").c_str(), buffer, sizeof buffer);
    EXPECT_EQ(stack.Step(), 1);
    std::tuple<unsigned long, unsigned long, char const*> const rows[] = {
        {0, 0, "5 +2  5 4"}, {1, 4, "5 +2 mod 5 4"}, {4, 3, "5 nam+2 mo 5 4"}, {5, 1, "5 name+2  5 4"}};
    for (auto const& [nameRoom, moduleRoom, expected] : rows)
        EXPECT_EQ(Frame(stack, nameRoom, moduleRoom), expected);
    EXPECT_EQ(stack.Step(), 0);
}

TEST(KernelBacktrace, TellsErrorsOfTheSystem) {
    TempDir const dir;
    std::string const path = dir.Write("stack", "[<5>] name+0x2/0x3 [mod]\n[<6>] x+0x2/0x3\n");
    char buffer[64];
    struct {
        KernelBacktrace stack;
        int error;
    } rows[] = {{{1ULL << 40, buffer, sizeof buffer}, ENOENT},
                {{~0ULL, buffer, 32}, EINVAL},
                {{~0ULL, buffer, 33}, ENOENT},
                {{7, nullptr, sizeof buffer}, EINVAL},
                {{path.c_str(), buffer, 0}, EINVAL},
                {{(dir / "absent").c_str(), buffer, sizeof buffer}, ENOENT}};
    for (auto& row : rows) {
        EXPECT_EQ(row.stack.Step(), -row.error);
        EXPECT_EQ(Frame(row.stack), std::to_string(-row.error));
    }
    KernelBacktrace stack(path.c_str(), buffer, 4);
    Calls calls;
    calls.Script(SysCall::read, {Calls::Fail(EIO), Calls::Real(), Calls::Fail(EPERM)});
    EXPECT_EQ(stack.Step(), -EIO);
    EXPECT_EQ(stack.Step(), 1);
    EXPECT_EQ(Frame(stack), std::to_string(-EPERM));
    EXPECT_EQ(Frame(stack), "5 name+2 mod 5 4");
    calls.Script(SysCall::lseek, {Calls::Fail(EBADF)});
    EXPECT_EQ(Frame(stack), std::to_string(-EBADF));
    EXPECT_EQ(Frame(stack), "5 name+2 mod 5 4");
    EXPECT_EQ(stack.Step(), 1);
    EXPECT_EQ(Frame(stack), "6 x+2  2 1");
}

TEST(KernelBacktrace, ReadsTheStackOfAThreadWithoutMemory) {
    char buffer[64], name[64], module[64];
    unsigned long ip, offset, nameLength, moduleLength;
    Heap heap(1, Heap::ModeT::FOREVER);
    heap.Arm();
    KernelBacktrace stack(static_cast<unsigned long long>(getppid()), buffer, sizeof buffer);
    int const first = stack.Step();
    int result = first;
    for (int left = 64; result > 0 && left > 0; --left) {
        result =
            stack.GetFrame(ip, name, sizeof name, nameLength, offset, module, sizeof module, moduleLength);
        if (result > 0) result = stack.Step();
    }
    heap.Disarm();
    EXPECT_EQ(heap.Calls(), 0u);
    EXPECT_TRUE(result == 0 || first == -ENOENT || first == -EACCES || first == -EPERM)
        << result; // as the kernel is built
}

} // namespace
