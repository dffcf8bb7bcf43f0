#include "tests/runtime/Worker.h"
#include "workbench/Namespace.h"
#include "zeb/event/Bus.h"
#include "zeb/event/SystemEvents.h"
#include "zeb/runtime/Main.h"
#include "zeb/runtime/Oops.h"

#include <algorithm>
#include <fcntl.h>
#include <malloc.h>
#include <map>
#include <regex>
#include <sstream>
#include <sys/mman.h>
#include <sys/stat.h>

namespace {

struct Daemon : Main {
    using Main::Main;
    int Run() override { return 0; }
};

#define CRASHES __attribute__((noinline, no_sanitize("address", "undefined")))

std::atomic<int> sink, zero = 0;
char* volatile nowhere = nullptr;

CRASHES int Recurse(int depth) {
    char volatile room[300] = {static_cast<char>(depth)};
    return (zero ? 0 : Recurse(depth + 1)) + room[0];
}

CRASHES void WriteNowhere() { *nowhere = 1, sink = 1; }

CRASHES void ReadBehindAFile() {
    sink = *static_cast<char volatile*>(mmap(nullptr, 4096, PROT_READ, MAP_SHARED, memfd_create("empty", 0), 0));
}

// 64-bit ARM divides by zero without a signal.
[[gnu::noinline]] void DivideByZero() { raise(SIGFPE), sink = 1; }

#ifdef __aarch64__
#define OF_PROCESSOR(arm, x86) arm
#else
#define OF_PROCESSOR(arm, x86) x86
#endif
[[gnu::noinline]] void Illegal() { asm volatile(OF_PROCESSOR("udf #0", "ud2")); }
[[gnu::noinline]] void Break() { asm volatile(OF_PROCESSOR("brk #1000", "int3")); }
std::string const REGISTERS =
    OF_PROCESSOR("x0: x1:|x2: x3:|x4: x5:|x6: x7:|x8: x9:|x10: x11:|x12: x13:|x14: x15:|x16: x17:|x18: x19:|x20: x21:|"
                 "x22: x23:|x24: x25:|x26: x27:|x28: x29:|x30:||sp: pc:|pstate: fpsr:|fpcr:||",
                 "rax: rbx:|rcx: rdx:|rsi: rdi:|rbp: r8:|r9: r10:|r11: r12:|r13: r14:|r15:||rsp: rip:||");

// With the lock of the heap held: malloc finds the size of its top block broken.
[[maybe_unused, gnu::noinline]] void BreakHeap() {
    std::thread([] {}).join();      // a heap without threads takes no lock
    void* volatile small = nullptr; // nor does one that has small blocks at hand
    for (unsigned long size = 16; size < 1040; size += 2) small = malloc(size);
    sink = small != nullptr;
    constexpr unsigned long SIZE = 8UL << 20;
    mallopt(M_MMAP_THRESHOLD, 1 << 25);
    void* volatile block = malloc(SIZE);
    for (int i = 0; i < 32; ++i) static_cast<char volatile*>(block)[SIZE + i] = 0x7f;
    block = malloc(2 * SIZE);
}

// Dies as a daemon of its own process group.
Child Crash(std::function<void()> const& body) {
    return Child::Run([&] {
        setpgid(0, 0);
        Daemon daemon("daemon");
        Calls calls(Calls::ScopeT::PROCESS);
        calls.Script(SysCall::nanosleep, {Calls::Return(0)}, 2); // the pauses of the handler
        body();
    });
}

std::regex const FRAME(R"(  0xH: \S+\+0x[0-9a-f]+ \(/\S+\+0x[0-9a-f]+\))");

struct Crashing {
    std::function<void()> body;
    char const *reason = "segmentation fault", *first = "WriteNowhere", *thread = "Main", *before = ""; // a frame; libc's words
    bool fault = true, indirect = false, more = false; // libc's functions come first; a second report may begin
};

// Line by line: the head, the registers, the frames, and what came of the device. Addresses are read as H.
void ExpectReport(std::string const& report, Crashing const& row, std::string const& last) {
    std::string const plain = std::regex_replace(report, std::regex("\\b(0x)?[0-9a-f]{16}\\b"), "$1H");
    unsigned long const frames = plain.find("\n  0xH: ") + 1, registers = plain.find("\n\n", plain.find("Stack address")) + 2;
    std::string const head = std::string(row.before) + "|Program crashed!||Program      : daemon|Reason       : " + row.reason +
                             "|Thread       : " + row.thread + "|Stack address: 0xH|" +
                             (row.fault ? "Fault address: 0xH||" : "|");
    std::string shown = std::regex_replace(plain.substr(registers, frames - registers), std::regex("(^|\n) +| +(?= )"), "$1");
    shown = plain.substr(0, registers) + std::regex_replace(shown, std::regex(": [H-](?=[ \n])"), ":"); // "-": not in the frame
    std::replace(shown.begin(), shown.end(), '\n', '|');
    ASSERT_EQ(shown, head + REGISTERS) << report;
    std::istringstream in(plain.substr(frames));
    unsigned long found = 0, count = 0;
    std::string line;
    for (; std::getline(in, line) && line != last; ++count) {
        if (found == 0 && line.find(row.first) != std::string::npos) found = count + 1;
        ASSERT_TRUE(std::regex_match(line, FRAME) || line == "  [...]") << line;
    }
    EXPECT_TRUE(line == last && count > 1 && (row.more || in.peek() == EOF)) << report;
    EXPECT_TRUE(row.indirect ? found > 0 : found == 1) << report;
}

// Crashes at the next release of a plain mutex by this thread.
std::function<void()> AtUnlock(void (*body)()) {
    return [=] {
        Calls calls;
        calls.Script(SysCall::pthread_mutex_unlock, {Calls::Do(WriteNowhere)});
        body();
    };
}

// Another thread waits inside of localtime() for ever, with the lock of the time zone.
void HoldTimeZone() {
    static TempDir const folder;
    std::string const pipe = folder.Path() + "/zone";
    mkfifo(pipe.c_str(), 0600), setenv("TZ", (":" + pipe).c_str(), 1);
    static time_t const now = 1;
    new std::thread([] { tzset(), localtime(&now); });
    Clock::RealPause(50), WriteNowhere();
}

// A second crash waits behind the first, and ends with the group.
void CrashTwice() {
    new std::thread([] { sink = 2, WriteNowhere(); });
    Await([] { return sink == 2; }), Clock::RealPause(20), DivideByZero();
}

TEST(Crash, IsReportedLineByLineAndEndsTheGroup) {
    Crashing const rows[] = {
        // clang-format off
        {WriteNowhere}, {ReadBehindAFile, "bus error", "ReadBehindAFile"}, {Illegal, "illegal instruction", "Illegal"},
        {DivideByZero, "arithmetic exception", "DivideByZero", "Main", "", true, true},
        {Break, "trace/breakpoint trap", "Break"}, {[] { abort(); }, "aborted", "abort", "Main", "", false, true},
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // with heaps of their own
        {BreakHeap, "aborted", "BreakHeap", "Main", "malloc(): corrupted top size|", false, true},
#endif
        {[] { Recurse(0); }, "stack overflow", "Recurse"},
        {[] { RunInWorker([] { Recurse(0); }); }, "stack overflow", "Recurse", "worker"},
        {[] { std::thread(WriteNowhere).join(); }, "segmentation fault", "WriteNowhere", "Unknown"},
        {AtUnlock([] { Thread::HasEnvironment("a"); })}, {AtUnlock([] { Thread::OwnerId(Mutex(Mutex::CACHE)); })},
        {AtUnlock([] { Log(Log::INFO, "a", nullptr, "b"); })}, {HoldTimeZone},
        {AtUnlock([] { (void)Event::Raise(Event::Heartbeat(), nullptr, Event::ASYNC, Event::DIRECT); })},
        {CrashTwice, "segmentation fault", "WriteNowhere", "Unknown", "", true, false, true}};
    // clang-format on
    for (Crashing const& row : rows) {
        SCOPED_TRACE(std::string(row.thread) + ": " + row.first);
        Child const child = Crash(row.body);
        EXPECT_TRUE(child.Signal() == SIGKILL && !child.TimedOut()) << child;
        ExpectReport(child.Errors(), row, "Unable to open dump file: no such file or directory.");
    }
}

TEST(Crash, ACallToNowhereHasAFrameOfItsOwn) {
    Child const child = Crash([] { reinterpret_cast<void (*)()>(nowhere)(), sink = 1; });
    EXPECT_NE(child.Errors().find("\n  0x0000000000000000: <unknown>+0x0 (+0x0)\n"), std::string::npos) << child;
}

using OopsTest = WithMainThread;

std::string const KEPT("the report\n", sizeof("the report\n")); // with its terminator

// Dumps a report; what standard error gets behind it.
std::string Dump(bool good, unsigned long retries = 0, std::map<SysCall, Calls::Step> const& steps = {},
                 char const* failed = "") {
    OutputCapture errors(2);
    Oops oops;
    oops.Printf("the %s\n", "report");
    Calls calls;
    calls.Script(SysCall::write, {Calls::Fail(EAGAIN), Calls::Fail(EINTR)}, retries);
    for (auto const& [call, step] : steps) calls.Script(call, {step});
    calls.ScriptFailure(failed);
    EXPECT_EQ(oops.Dump(), good);
    return errors.Finish().substr(KEPT.size() - 1);
}

TEST_F(OopsTest, KeepsTheReportOnTheDevice) {
    ZEB_NEED_ROOT();
    Namespace space;
    ASSERT_TRUE(space.SmallDisk("/proc"));
    EXPECT_EQ(Dump(false), "Unable to open dump file: no such file or directory.\n");
    ASSERT_EQ(mkdir("/proc/mtdoops", 0700), 0);
    close(open(Oops::DEVICE, O_CREAT | O_WRONLY, 0600));
    EXPECT_EQ(truncate(Oops::DEVICE, 100), 0);
    EXPECT_TRUE(Dump(true).empty() && ReadWholeFile(Oops::DEVICE) == KEPT);
    EXPECT_TRUE(!Oops().Dump() && ReadWholeFile(Oops::DEVICE) == KEPT); // nothing to keep
    int pair[2];
    ASSERT_EQ(pipe(pair), 0);
    close(pair[0]);
    // Refused writes first, the step and what fails with it, and the words.
    std::tuple<unsigned long, SysCall, Calls::Step, char const*, std::string> const rows[] = {
        {0, SysCall::fcntl, Calls::Fail(EBADF), "", "Unable to get flags: bad file descriptor.\n"},
        {0, SysCall::fcntl, Calls::Real(), "fcntl 0 EPERM", "Unable to set flags: operation not permitted.\n"},
        {0, SysCall::fsync, Calls::Fail(EIO), "", "Unable to synchronize data: input/output error.\n"},
        {0, SysCall::fsync, Calls::Fail(EINVAL), "", ""},
        {0, SysCall::fsync, Calls::Fail(EROFS), "", ""},
        {5, SysCall::write, Calls::Short(3), "", ""},
        {0, SysCall::close, Calls::Fail(EIO), "", "Unable to close a dump file: input/output error.\n"},
        {0, SysCall::write, Calls::Fail(EIO), "", "Unable to write a dump: input/output error.\n"},
        {5, SysCall::write, Calls::Fail(EAGAIN), "", "Too many write retries.\n"},
        {0, SysCall::poll, Calls::Fail(ENOMEM), "write 0 EAGAIN", "Unable to poll storage state: not enough space.\n"},
        {0, SysCall::open, Calls::Return(pair[1]), "write 0 EAGAIN", "Write poll returned broken state.\n"}};
    for (auto const& [retries, call, step, behind, words] : rows) {
        EXPECT_EQ(Dump(words.empty(), retries, {{call, step}}, behind), words);
        EXPECT_TRUE(!words.empty() || ReadWholeFile(Oops::DEVICE) == KEPT);
    }
    ASSERT_TRUE(space.Bind("/dev/full", Oops::DEVICE));
    EXPECT_EQ(Dump(false), "Unable to write a dump: no space left on device.\n");
}

TEST_F(OopsTest, LosesWhatDoesNotFitAndShowsThreads) {
    OutputCapture errors(2);
    Oops oops;
    for (int i = 0; i < 8; ++i) oops.Printf("%2000s", "x");
    oops.Printf("%384s", "y"), oops.Printf("%383s", "z"); // one too many, and what fits
    EXPECT_TRUE(strlen(oops.Cstr()) == Oops::SIZE - 1 && oops.Cstr()[Oops::SIZE - 2] == 'z');
    for (int const tid : {Thread::TID_SELF, 1}) oops.PrintThreadBacktrace(tid);
    std::string const shown = errors.Finish().substr(16000 + 384 + 383);
    std::string const self = "\"Main\" (" + std::to_string(gettid()) + ") backtrace:\n  ";
    EXPECT_TRUE(shown.starts_with(self) && shown.find("LosesWhatDoesNotFit") < shown.find("+0x")) << shown;
    EXPECT_NE(shown.find("\n\n\nunable to get a backtrace (1): no such process.\n\n\n"), std::string::npos) << shown;
}

} // namespace
