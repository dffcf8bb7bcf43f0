#include "zeb/io/Device.h"
#include "tests/io/Transports.h"
#include "tests/support/Calls.h"
#include "tests/support/Child.h"
#include "tests/support/Heap.h"
#include "tests/support/LogCapture.h"
#include "zeb/io/StdStream.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <pty.h>
#include <unistd.h>

namespace {

using Io::Stateful;
using Lines = LogCapture::LinesT;

// A terminal whose other end is in our hands.
class Pty {
public:
    Pty() {
        EXPECT_EQ(openpty(&master, &slave_, path, nullptr, nullptr), 0);
        termios settings;
        EXPECT_EQ(tcgetattr(slave_, &settings), 0);
        cfmakeraw(&settings);
        EXPECT_EQ(tcsetattr(slave_, TCSANOW, &settings), 0);
    }
    ~Pty() {
        close(master);
        close(slave_);
    }

    int master = -1;
    char path[64] = {};

private:
    int slave_ = -1;
};

TEST(Device, TalksInBothDirectionsAtOnce) {
    Pty pty;
    Io::Device device(pty.path, O_RDWR | O_NOCTTY, Io::EOL_ANY_CRLF, 64);
    ASSERT_TRUE(device.Ok());
    EXPECT_EQ(Text(device.PathName()), pty.path);
    EXPECT_EQ(write(pty.master, "first\r\nsecond\r\n", 15), 15);
    String line;
    EXPECT_TRUE(device.ReadLine(line));
    EXPECT_EQ(Text(line), "first");
    EXPECT_TRUE(device.ObjIReady());
    device << "answer" << Io::Endl; // the read-ahead is in a block of its own
    EXPECT_TRUE(device.Flush());
    char answer[16];
    EXPECT_EQ(read(pty.master, answer, sizeof(answer)), 8);
    EXPECT_EQ(std::string(answer, 8), "answer\r\n");
    EXPECT_TRUE(device.ReadLine(line));
    EXPECT_EQ(Text(line), "second");
    EXPECT_FALSE(device.ObjIReady());
    device.SetTimeout(0);
    EXPECT_EQ(device.GetChar(), 256);
    EXPECT_EQ(device.CurrentState(), Stateful::STATE_TIMEOUT);
}

TEST(Device, OpensAgainWithOnlyTheBlocksOfItsMode) {
    Io::Device device("/dev/null");
    EXPECT_TRUE(device.Close());
    Heap heap;
    for (int const flags : {O_RDWR, O_WRONLY, O_RDONLY}) {
        EXPECT_TRUE(device.Open(flags));
        EXPECT_FALSE(device.Open(flags));
        EXPECT_EQ(device.Mode(), Io::ModeOfFlags(flags));
        EXPECT_EQ(heap.Live(), flags == O_RDWR ? 2u : 1u);
        if (flags != O_WRONLY) {
            EXPECT_EQ(device.GetChar(), 256);
            EXPECT_TRUE(device.Eos());
        }
        if (flags == O_RDONLY) break;
        EXPECT_TRUE(device.Close());
        EXPECT_FALSE(device.IsOpened());
        EXPECT_FALSE(device.Eos());
        EXPECT_EQ(heap.Live(), 0u);
    }
    device << "x";
    EXPECT_STREQ(device.ErrorString(), "operation failed");
    EXPECT_FALSE(device.Close());
    EXPECT_FALSE(device.IsOpened());
}

TEST(Device, FailsByStateAndLog) {
    LogCapture log;
    Io::Device broken("/absent", O_RDONLY);
    EXPECT_EQ(broken.CurrentState(), Stateful::STATE_BROKEN);
    EXPECT_EQ(broken.SysError(), ENOENT);
    Io::Device failed("/absent");
    EXPECT_FALSE(failed.Open(O_RDONLY));
    EXPECT_EQ(failed.CurrentState(), Stateful::STATE_FAILED);
    EXPECT_EQ(log.Count("E Io::Device: unable to open \"/absent\": no such file or directory."), 2u);
    {
        Calls calls;
        calls.Script(SysCall::close, {Calls::Fail(EIO)});
        Io::Device device("/dev/null", O_RDWR);
        EXPECT_FALSE(device.Close());
        EXPECT_EQ(device.SysError(), EIO);
    }
    ForEveryAllocation([&](Heap& heap) {
        log.Clear();
        heap.Arm();
        Io::Device device("/dev/null", O_RDWR);
        heap.Disarm();
        EXPECT_EQ(device.Initialized(), !heap.Fired());
        EXPECT_EQ(device.IsOpened(), !heap.Fired());
        EXPECT_EQ(log.Take(), heap.Fired()
                                  ? Lines({"C Io::Device: \"/dev/null\": out of memory [0xcffe****]."})
                                  : Lines());
    });
}

// Echoes the lines of its standard input.
int Echo() {
    Io::StdIn in;
    Io::StdOut out;
    Io::StdErr err;
    String line;
    while (in.ReadLine(line)) {
        out << "[" << line << "]" << Io::Endl;
        err << (in.ObjIReady() ? "+" : "-");
        in.SetTimeout(1000);
    }
    out << "not ended"; // goes out with the object
    err << in.ErrorString() << Io::Endl;
    return in.CurrentState();
}

TEST(StdStreams, CarryTheTextOfAProcess) {
    struct {
        char const* input;
        char const* output;
        char const* errors;
        Stateful::StateT state;
    } const rows[] = {
        {"one\ntwo\r\nthree", "[one]\n[two]\n[three]\nnot ended", "++-end of stream\n", Stateful::STATE_EOS},
        {"\r\r", "not ended", "invalid input\n", Stateful::STATE_INVALID},
    };
    for (auto const& row : rows) {
        int in[2];
        ASSERT_EQ(pipe(in), 0);
        EXPECT_EQ(write(in[1], row.input, strlen(row.input)), static_cast<ssize_t>(strlen(row.input)));
        close(in[1]);
        Child const child = Child::Run([&] { return dup2(in[0], 0) == 0 ? Echo() : -1; });
        close(in[0]);
        EXPECT_EQ(child.ExitCode(), row.state) << child;
        EXPECT_EQ(child.Output(), row.output);
        EXPECT_EQ(child.Errors(), row.errors);
    }
}

} // namespace
