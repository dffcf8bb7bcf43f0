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

TEST(Device, TalksInBothDirectionsAtOnce) {
    int master = -1, slave = -1;
    char path[64];
    termios raw = {};
    ASSERT_EQ(openpty(&master, &slave, path, &raw, nullptr), 0);
    Io::Device device(path, O_RDWR | O_NOCTTY, Io::EOL_ANY_CRLF, 64);
    EXPECT_EQ(Text(device.PathName()), path);
    EXPECT_EQ(write(master, "first\r\nsecond\r\n", 15), 15);
    String line;
    EXPECT_TRUE(device.ReadLine(line));
    EXPECT_EQ(Text(line), "first");
    EXPECT_TRUE(device.ObjIReady());
    device << "answer" << Io::Endl; // the read-ahead is in a block of its own
    EXPECT_TRUE(device.Flush());
    char answer[16];
    EXPECT_EQ(read(master, answer, sizeof(answer)), 8);
    EXPECT_EQ(std::string(answer, 8), "answer\r\n");
    EXPECT_TRUE(device.ReadLine(line));
    EXPECT_EQ(Text(line), "second");
    EXPECT_FALSE(device.ObjIReady());
    device.SetTimeout(0);
    EXPECT_EQ(device.GetChar(), 256);
    EXPECT_EQ(device.CurrentState(), Stateful::STATE_TIMEOUT);
    close(master);
    close(slave);
}

TEST(Device, OpensAgainWithOnlyTheBlocksOfItsMode) {
    Io::Device device("/dev/null");
    EXPECT_TRUE(device.Close());
    Heap heap;
    for (int const flags : {O_RDWR, O_WRONLY, O_RDONLY}) {
        EXPECT_TRUE(device.Close() && device.Open(flags));
        EXPECT_FALSE(device.Open(flags) || device.Eos());
        EXPECT_EQ(device.Mode(), Io::ModeOfFlags(flags));
        EXPECT_EQ(heap.Live(), flags == O_RDWR ? 2u : 1u);
        EXPECT_TRUE(flags == O_WRONLY || device.GetChar() == 256);
        EXPECT_EQ(device.Eos(), flags != O_WRONLY);
    }
    device << "x";
    EXPECT_STREQ(device.ErrorString(), "operation failed");
    EXPECT_FALSE(device.Close() || device.IsOpened());
    EXPECT_EQ(heap.Live(), 0u);
}

TEST(Device, FailsByStateAndLog) {
    LogCapture log;
    Io::Device broken("/absent", O_RDONLY), failed("/absent");
    EXPECT_FALSE(failed.Open(O_RDONLY));
    EXPECT_EQ(broken.CurrentState(), Stateful::STATE_BROKEN);
    EXPECT_EQ(failed.CurrentState(), Stateful::STATE_FAILED);
    EXPECT_EQ(broken.SysError() + failed.SysError(), 2 * ENOENT);
    std::string const line = "E Io::Device: unable to open \"/absent\": no such file or directory.";
    EXPECT_EQ(log.Take(), Lines({line, line}));
    ForEveryAllocation([&](Heap& heap) {
        heap.Arm();
        Io::Device device("/dev/null", O_RDWR);
        heap.Disarm();
        EXPECT_EQ(device.Initialized(), !heap.Fired());
        EXPECT_EQ(device.IsOpened(), !heap.Fired());
        Lines const expected = {"C Io::Device: \"/dev/null\": out of memory [0xcffe****]."};
        EXPECT_EQ(log.Take(), heap.Fired() ? expected : Lines());
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
    int in[2];
    ASSERT_EQ(pipe(in), 0);
    EXPECT_EQ(write(in[1], "one\ntwo\r\nthree", 14), 14);
    close(in[1]);
    Child const child = Child::Run([&] { return dup2(in[0], 0) == 0 ? Echo() : -1; });
    close(in[0]);
    EXPECT_EQ(child.ExitCode(), Stateful::STATE_EOS) << child;
    EXPECT_EQ(child.Output(), "[one]\n[two]\n[three]\nnot ended");
    EXPECT_EQ(child.Errors(), "++-end of stream\n");
}

} // namespace
