#include "zeb/io/Device.h"
#include "tests/io/Transports.h"
#include "workbench/Child.h"
#include "zeb/io/StdStream.h"

#include <fcntl.h>
#include <pty.h>
#include <unistd.h>

namespace {

TEST(Device, TalksInBothDirectionsAtOnce) {
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
    EXPECT_EQ(close(master) + close(slave), 0);
}

// Echoes the lines of its standard input.
int Echo() {
    Io::StdIn in;
    Io::StdOut out;
    Io::StdErr err;
    String line;
    for (; in.ReadLine(line); in.SetTimeout(1000)) {
        out << "[" << line << "]" << Io::Endl;
        err << (in.ObjIReady() ? "+" : "-");
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
    EXPECT_EQ(child.Output() + child.Errors(), "[one]\n[two]\n[three]\nnot ended++-");
}

} // namespace
