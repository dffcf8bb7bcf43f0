#include "zeb/io/Device.h"
#include "tests/io/Ends.h"
#include "tests/io/Transports.h"
#include "zeb/io/PollableFile.h"
#include "zeb/io/StdStream.h"

#include <fcntl.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

namespace {

TEST(Device, TalksInBothDirectionsAtOnce) {
    Io::PollableFile other("/dev/zero", O_RDONLY);
    Io::Device alias("/absent");
    End const none(-1);
    Io::EndOfLineT const eol = Io::EOL_LF;
    Io::PollableStream over(other, "T", none.fd, none.mode, alias.InBuffer(), alias.OutBuffer(), eol);
    alias.Attach(&other); // of another kind
    EXPECT_TRUE(alias.IsOpened() && over.GetChar() == 0 && alias.ObjIReady() && other.ObjIReady());
    EXPECT_FALSE(alias.PathName().Size() > 0 || alias.Close() || other.Ok());

    int master = -1, slave = -1;
    char path[64], answer[16] = {};
    termios raw = {};
    ASSERT_EQ(openpty(&master, &slave, path, &raw, nullptr), 0);
    Io::Device device(path, O_RDWR | O_NOCTTY, Io::EOL_ANY_CRLF, 64);
    EXPECT_EQ(write(master, "first\r\nsecond\r\n", 15), 15);
    String first, second;
    EXPECT_TRUE(device.ReadLine(first) && device.ObjIReady());
    device << "answer" << Io::Endl; // the read-ahead is in a block of its own
    EXPECT_TRUE(device.Flush() && read(master, answer, 16) == 8 && answer == std::string("answer\r\n"));
    EXPECT_TRUE(device.ReadLine(second) && !device.ObjIReady());
    EXPECT_EQ(Text(first) + Text(second), "firstsecond");
    auto const reopen = [&](auto&& object) { // forgets what a wait has found
        EXPECT_TRUE(write(master, "x\n", 2) == 2 && WaitFor(object, Io::MODE_READ, 1000) == READY && object.Close());
        EXPECT_TRUE(tcflush(slave, TCIFLUSH) == 0 && object.Open(O_RDWR | O_NOCTTY));
        EXPECT_EQ(WaitFor(object, Io::MODE_READ, 0), TIMED_OUT);
    };
    reopen(device), reopen(Io::PollableFile(path, O_RDWR | O_NOCTTY));
    EXPECT_EQ(close(master) + close(slave), 0);
}

// A FIFO that nobody reads.
struct Fifo {
    ~Fifo() { close(fd); }

    TempDir dir;
    std::string const path = dir / "fifo";
    int const fd = mkfifo(path.c_str(), 0600) == 0 ? open(path.c_str(), O_RDWR) : -1;
};

// What the end of a stream in an interrupted thread logs.
template<class S, class... A>
std::string EndInterrupted(A const&... arguments) {
    LogCapture log;
    Worker worker([&] {
        S stream(arguments...);
        stream << "pending";
        EXPECT_TRUE(Await(&Thread::SelfInterrupted));
    });
    EXPECT_EQ(worker.Start(), Thread::STARTED);
    worker.Interrupt();
    EXPECT_TRUE(worker.Stop());
    return Logged(log, "no path");
}

// Output ends by time, and the end of an object waits for a second at most.
template<class S, class... A>
void ExpectNoHang(Fifo const& fifo, A const&... arguments) {
    std::string all(65536, 0);
    int arrived = 0;
    while (ioctl(fifo.fd, FIONREAD, &arrived) == 0 && arrived > 0) EXPECT_GT(read(fifo.fd, all.data(), all.size()), 0);
    EXPECT_EQ(EndInterrupted<S>(arguments...), "");
    EXPECT_TRUE(ioctl(fifo.fd, FIONREAD, &arrived) == 0 && arrived == 7); // what goes at once does
    std::string const large(200000, 'x');
    for (int const limit : {500, -1, 200}) {
        LogCapture log;
        Clock const clock(Clock::ModeT::AUTO);
        {
            S stream(arguments...);
            stream.SetTimeout(limit);
            stream << (limit == 500 ? large.c_str() : "pending");
            EXPECT_EQ(stream.CurrentState(), limit == 500 ? Stateful::STATE_TIMEOUT : Stateful::STATE_OK);
        }
        EXPECT_NEAR(clock.Moved(), limit < 0 ? 1000e6 : limit * 1e6, 2e6);
        EXPECT_EQ(log.Count(": 7 bytes of pending output are lost: operation timeout."), limit == 500 ? 0u : 1u);
    }
    EXPECT_TRUE(EndInterrupted<S>(arguments...).ends_with("7 bytes of pending output are lost: operation interrupted.\n"));
}

TEST(Pollables, AStuckReaderHangsNeitherAWriteNorTheEnd) {
    Fifo const fifo;
    char const* const path = fifo.path.c_str();
    AutoPtr<ThreadMain> const main(ThreadMain::New("io_test"));
    for (unsigned long const block : {16UL, 65536UL}) {
        ExpectNoHang<Io::Device>(fifo, path, O_RDWR, Io::EOL_LF, block);
        ExpectNoHang<Io::PollableFile>(fifo, path, O_RDWR, Io::EOL_LF, block, Log::VERBOSE_ON);
    }
    Child const child = Child::Run(
        [&] {
            EXPECT_TRUE(dup2(fifo.fd, 1) == 1 && dup2(fifo.fd, 2) == 2);
            ExpectNoHang<Io::StdErr>(fifo);
            ExpectNoHang<Io::StdOut>(fifo);
            EXPECT_EQ(Io::StdOut().OutBuffer().PFree() + Io::StdErr().OutBuffer().PFree(), 2048u);
            Log::ConsoleMode(); // then the line about it would wait in its turn
            Io::StdOut out;
            out.SetTimeout(20);
            out << "pending";
        },
        8000);
    EXPECT_EQ(child.ExitCode(), 0) << child;
}

// Echoes the lines of its standard input.
int Echo() {
    Io::StdIn in;
    Io::StdOut out;
    Io::StdErr err;
    String line;
    for (; in.ReadLine(line); in.SetTimeout(1000)) {
        out << "[" << line << "]" << Io::Endl;
        err << (in.ObjIReady() ? "+" : "-") << Io::Endl;
        EXPECT_EQ(out.OutBuffer().PCount() + err.OutBuffer().PCount(), 0u) << "each line goes out at once";
    }
    out << "not ended"; // goes out with the object
    return in.CurrentState();
}

TEST(StdStreams, CarryTheTextOfAProcess) {
    int in[2];
    ASSERT_TRUE(pipe(in) == 0 && write(in[1], "one\ntwo\r\nthree", 14) == 14);
    close(in[1]);
    Child const child = Child::Run([&] { return dup2(in[0], 0) == 0 ? Echo() : -1; });
    close(in[0]);
    EXPECT_EQ(child.ExitCode(), Stateful::STATE_EOS) << child;
    EXPECT_EQ(child.Output() + child.Errors(), "[one]\n[two]\n[three]\nnot ended+\n+\n-\n");
}

} // namespace
