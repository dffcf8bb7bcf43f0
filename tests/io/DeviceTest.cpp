#include "zeb/io/Device.h"
#include "tests/io/Transports.h"
#include "tests/support/Child.h"
#include "zeb/io/StdStream.h"

#include <fcntl.h>
#include <pty.h>
#include <unistd.h>

namespace {

using Io::Stateful;

TEST(Device, TalksInBothDirectionsAtOnce) {
    int master = -1, slave = -1;
    char path[64], answer[16];
    termios raw = {};
    ASSERT_EQ(openpty(&master, &slave, path, &raw, nullptr), 0);
    Io::Device device(path, O_RDWR | O_NOCTTY, Io::EOL_ANY_CRLF, 64);
    EXPECT_EQ(write(master, "first\r\nsecond\r\n", 15), 15);
    String line;
    EXPECT_TRUE(device.ReadLine(line) && device.ObjIReady());
    EXPECT_EQ(Text(line), "first");
    device << "answer" << Io::Endl; // the read-ahead is in a block of its own
    EXPECT_TRUE(device.Flush());
    EXPECT_EQ(read(master, answer, sizeof(answer)), 8);
    EXPECT_EQ(std::string(answer, 8), "answer\r\n");
    EXPECT_TRUE(device.ReadLine(line) && !device.ObjIReady());
    EXPECT_EQ(Text(line), "second");
    device.SetTimeout(0);
    EXPECT_EQ(device.GetChar(), 256);
    EXPECT_EQ(device.CurrentState(), Stateful::STATE_TIMEOUT);
    close(master);
    close(slave);
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
