#include "zeb/runtime/Mapper.h"
#include "workbench/Calls.h"
#include "workbench/Heap.h"
#include "workbench/TempDir.h"

#include <gtest/gtest.h>
#include <sstream>

#include <signal.h>
#include <sys/mman.h>

namespace {

using Linux::AddressSpace::Mapper;

// "base path size", or the error number.
std::string Ask(Mapper& mapper, unsigned long address, unsigned long room = 200) {
    std::string file(room + 1, '#');
    unsigned long base = 1, size = room;
    errno = 0;
    int const result = mapper.Get(reinterpret_cast<void*>(address), base, file.data(), &size);
    EXPECT_EQ(file[room], '#') << "written behind the room";
    if (result != 0) return std::to_string(result) + " " + std::to_string(errno);
    std::ostringstream out;
    out << std::hex << base << " '" << file.c_str() << "' " << std::dec << size;
    return out.str();
}

std::string const FIRST = "1000-2000 r-xp 00000000 08:01 131 /usr/bin/x\n";
std::string const LAST = "ffffffffff600000-ffffffffffffffff --xp 00000000 00:00 0  [vsyscall]\n";
std::string const NONE = "0 '' 1", BAD = "-1 " + std::to_string(EILSEQ);

TEST(Mapper, FindsTheMappingOfAnAddress) {
    std::string const deep = "/" + std::string(150, 'd') + "/e f";
    struct {
        std::string text;
        unsigned long address;
        std::string expected;
    } const rows[] = {
        {FIRST, 0x1000, "1000 '/usr/bin/x' 11"},
        {FIRST, 0x1FFF, "1000 '/usr/bin/x' 11"},
        {FIRST, 0xFFF, NONE},
        {FIRST, 0x2000, NONE},
        {"", 0, NONE},
        {FIRST + LAST, ~0UL - 1, "ffffffffff600000 '[vsyscall]' 11"},
        {FIRST + LAST, ~0UL, NONE},
        {FIRST + "2000-3000 -w-s 0 0:0 0\n" + LAST, 0x2000, "2000 '' 1"},
        {"2000-3000 rw-S 0 fff:fffff 18446744073709551615   \n", 0x2000, "2000 '' 1"},
        {"2000-3000 ---p FFFFFFFFFFFFFFFF 0:0 1 " + deep + "\n" + LAST, 0x2001, "2000 '" + deep + "' 156"},
        {FIRST + "2000-3000 rwxp 0 0:0 1     /a (deleted)", 0x2000, "2000 '/a (deleted)' 13"},
        {FIRST + "2000-3000 rwxp 0 0:0 12", 0x2000, "2000 '' 1"},
        {FIRST + "behind the hit nothing is read", 0x1000, "1000 '/usr/bin/x' 11"},
        {"0-1 ---p 0 0:0 0\n", 0, "0 '' 1"},
    };
    TempDir const dir;
    for (auto const& row : rows) {
        SCOPED_TRACE(row.text);
        Mapper mapper(dir.Write("maps", row.text).c_str());
        EXPECT_EQ(Ask(mapper, row.address), row.expected);
        Calls calls; // byte by byte, and interrupted
        calls.Script(SysCall::read, {Calls::Fail(EINTR), Calls::Short(1), Calls::Fail(EAGAIN)},
                     row.text.size() + 1);
        EXPECT_EQ(Ask(mapper, row.address), row.expected);
        calls.Clear();
    }
}

TEST(Mapper, RefusesAnotherForm) {
    Mapper mapper;
    auto const ask = [&mapper](std::string const& text) {
        Calls calls;
        calls.Script(SysCall::read, {Calls::Data(text), Calls::Return(0)});
        std::string const answer = Ask(mapper, 0x3000);
        calls.Clear();
        return answer;
    };
    std::string const good = "1000-2000 r-xp 00000000 08:01 131 /usr/bin/x";
    unsigned long const inode = good.find("131");
    for (unsigned long size = 1; size <= inode; ++size) { // cut, and with a wrong character in each place
        std::string wrong = good;
        wrong[size - 1] = '~';
        for (std::string const& text :
             {good.substr(0, size), FIRST + good.substr(0, size), wrong, good.substr(0, size) + "\n"})
            EXPECT_EQ(ask(text), BAD) << text;
    }
    EXPECT_EQ(ask(good.substr(0, inode + 1)), NONE);
    for (char const* const text : {"1-10000000000000000 r--p 0 0:0 0",
                                   "1-2 r--p 10000000000000000 0:0 0",
                                   "1-2 r--p 0 1000:0 0",
                                   "1-2 r--p 0 0:100000 0",
                                   "1-2 r--p 0 0:0 18446744073709551616",
                                   "1-2 r--p 0 0:0 a",
                                   "-2 r--p 0 0:0 0",
                                   "1- r--p 0 0:0 0",
                                   "1-2 r--p  0:0 0",
                                   "1-2 r--p 0 :0 0",
                                   "1-2 r--p 0 0: 0",
                                   "1-2 r--p 0 0:0 ",
                                   "1-2 w--p 0 0:0 0",
                                   "1-2 rr-p 0 0:0 0",
                                   "1-2 r-rp 0 0:0 0",
                                   "1-2 r--- 0 0:0 0",
                                   "1-2 r--pp 0 0:0 0",
                                   "\n",
                                   "1 2 r--p 0 0:0 0",
                                   "1-2-r--p 0 0:0 0"})
        EXPECT_EQ(ask(text), BAD) << text;
}

TEST(Mapper, CutsAPathAndTellsItsErrors) {
    TempDir const dir;
    Mapper mapper(dir.Write("maps", FIRST).c_str()), absent((dir / "absent").c_str());
    std::string const path = "/usr/bin/x";
    for (unsigned long room = 1; room < 14; ++room) {
        std::string const expected = path.substr(0, room - 1);
        EXPECT_EQ(Ask(mapper, 0x1000, room),
                  "1000 '" + expected + "' " + std::to_string(expected.size() + 1));
    }
    unsigned long base, size = 5;
    char file[5];
    EXPECT_EQ(mapper.Get(nullptr, base, nullptr, &size), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(mapper.Get(nullptr, base, file, nullptr), -1);
    EXPECT_EQ(Ask(mapper, 0x1000, 0), "-1 " + std::to_string(EINVAL));
    EXPECT_EQ(Ask(absent, 0x1000), "-1 " + std::to_string(ENOENT));
    Calls calls;
    calls.Script(SysCall::lseek, {Calls::Fail(ESPIPE)});
    EXPECT_EQ(Ask(mapper, 0x1000), "-1 " + std::to_string(ESPIPE));
    calls.Script(SysCall::read, {Calls::Short(5), Calls::Fail(EIO)});
    EXPECT_EQ(Ask(mapper, 0x1000), "-1 " + std::to_string(EIO));
    EXPECT_EQ(Ask(mapper, 0x1000), "1000 '/usr/bin/x' 11");
}

// In a handler, while all memory is gone.
std::string answers[3];
void* anonymous;

void Handle(int) {
    char file[200];
    unsigned long base;
    Mapper mapper;
    void const* const addresses[] = {reinterpret_cast<void const*>(&Handle), anonymous, nullptr};
    for (unsigned i = 0; i < 3; ++i) {
        unsigned long size = sizeof file;
        int const result = mapper.Get(addresses[i], base, file, &size);
        answers[i].assign(result == 0 ? file : "failed"); // reserved
        answers[i] += i == 1 && base != reinterpret_cast<unsigned long>(anonymous) ? "!" : "";
    }
}

TEST(Mapper, WorksInASignalHandlerWithoutMemory) {
    anonymous = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    for (std::string& answer : answers)
        answer.reserve(300);
    auto* const before = signal(SIGUSR2, Handle);
    Heap heap(1, Heap::ModeT::FOREVER);
    heap.Arm();
    raise(SIGUSR2);
    heap.Disarm();
    EXPECT_EQ(heap.Calls(), 0u);
    EXPECT_TRUE(answers[0].ends_with("/runtime_test")) << answers[0];
    EXPECT_EQ(answers[1] + "|" + answers[2], "|");
    signal(SIGUSR2, before);
    munmap(anonymous, 4096);
}

} // namespace
