#include "zeb/io/Serial.h"

#include "tests/io/Ends.h"

#include <cstdlib>
#include <fcntl.h>
#include <poll.h>

namespace {

// A terminal, the far end of whose line is `master_`.
struct SerialTest : testing::Test {
    SerialTest() {
        EXPECT_EQ(grantpt(master_) + unlockpt(master_), 0);
        path_ = ptsname(master_);
        slave_ = open(path_.c_str(), O_RDWR | O_NOCTTY); // keeps it
    }
    ~SerialTest() override { close(slave_), close(master_); }

    termios Settings() const {
        termios settings;
        EXPECT_EQ(tcgetattr(slave_, &settings), 0);
        return settings;
    }
    void SetSpeed(speed_t speed) const {
        termios settings = Settings();
        cfsetspeed(&settings, speed);
        EXPECT_EQ(tcsetattr(slave_, TCSANOW, &settings), 0);
    }
    std::string Arrived() const {
        char text[64];
        ssize_t const size = read(master_, text, sizeof text);
        return {text, static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
    }

    int const master_ = posix_openpt(O_RDWR | O_NOCTTY);
    std::string path_;
    int slave_;
    LogCapture log_;
};

TEST_F(SerialTest, APortIsRawAtItsSpeedAndTalksBothWays) {
    long const descriptors = OpenDescriptors();
    {
        Io::Serial port(path_.c_str(), Io::MODE_READ_WRITE, Io::EOL_ANY_CRLF, B115200);
        termios const settings = Settings();
        EXPECT_EQ(cfgetispeed(&settings) + cfgetospeed(&settings), speed_t(2 * B115200));
        EXPECT_EQ(settings.c_cflag & (CSIZE | PARENB | CSTOPB | CRTSCTS | CREAD | CLOCAL), tcflag_t(CS8 | CREAD | CLOCAL));
        EXPECT_EQ((settings.c_lflag & (ICANON | ECHO | ISIG)) | (settings.c_oflag & OPOST) | (settings.c_iflag & (ICRNL | IXON)),
                  0u);
        EXPECT_EQ(settings.c_cc[VMIN] * 10 + settings.c_cc[VTIME], 10);
        port.SetTimeout(2000);
        String line;
        std::string const longText(1000, 'x');
        EXPECT_EQ(write(master_, "OK\r\nrest\n", 9), 9);
        EXPECT_TRUE(port.ReadLine(line) && port.ObjIReady() && line == "OK");
        port << "AT" << Io::Endl;
        EXPECT_TRUE(port.Flush());
        EXPECT_EQ(Arrived(), "AT\r\n");
        port << "pending";
        EXPECT_TRUE(port.Close());
        EXPECT_EQ(Arrived(), "pending");
        EXPECT_FALSE(port.ReadLine(line));
        Io::Serial late(path_.c_str(), Io::MODE_WRITE, Io::EOL_LF, B9600), alias(path_.c_str(), Io::MODE_READ, Io::EOL_LF, B9600);
        EXPECT_FALSE(late.ReadLine(line)) << "it is for output";
        alias.Attach(&late);
        EXPECT_FALSE(alias.Close());
        EXPECT_EQ(late.CurrentState(), Io::Stateful::STATE_FAILED);
    }
    EXPECT_EQ(OpenDescriptors(), descriptors);
    Io::Serial left(path_.c_str(), Io::MODE_READ_WRITE, Io::EOL_LF, B9600);
    left << "left";
    EXPECT_TRUE(left.Ok());
}

TEST_F(SerialTest, WhatCannotBeSetUpIsBroken) {
    using Step = Calls::Step;
    Step const real = Calls::Real(), fails = Calls::Fail(EIO), none = Calls::Fail(ENOTTY);
    std::string const name = " Io::Serial: \"" + path_ + "\": ", failed = "C" + name + "system failed [0xcffd****], ";
    struct {
        SysCall call;
        std::vector<Step> steps;
        std::string line; // of a port that is broken
        speed_t speed = B9600;
    } const rows[] = {
        {SysCall::tcgetattr, {fails}, "E" + name + "unable to get terminal options: input/output error."},
        {SysCall::tcsetattr, {fails}, "E" + name + "unable to set terminal options: input/output error."},
        {SysCall::read, {}, "E" + name + "unable to set terminal options: invalid argument.", 12345678},
        {SysCall::tcgetattr, {real, fails}, "E" + name + "unable to verify terminal options: input/output error."},
        {SysCall::tcgetattr, {real, Calls::Do([&] { SetSpeed(B300); })}, "E" + name + "terminal options verification failed."},
        {SysCall::ioctl, {fails}, failed + "unable to get serial port options: input/output error."},
        {SysCall::ioctl, {Calls::Return(0), fails}, failed + "unable to set serial port options: input/output error."},
        {SysCall::ioctl, {Calls::Return(0), Calls::Return(0)}, ""},
        {SysCall::ioctl, {none}, ""},
    };
    for (auto const& row : rows) {
        Calls calls;
        for (Step const& step : row.steps) calls.Script(row.call, {step});
        Io::Serial port(path_.c_str(), Io::MODE_READ_WRITE, Io::EOL_LF, row.speed);
        EXPECT_EQ(port.CurrentState(), row.line.empty() ? Io::Stateful::STATE_OK : Io::Stateful::STATE_BROKEN) << row.line;
        EXPECT_EQ(log_.Take(), row.line.empty() ? LinesT() : LinesT{row.line});
        EXPECT_EQ(port.Close(), row.line.empty());
    }
    log_.Clear();
    EXPECT_EQ(Io::Serial("/nonexistent", Io::MODE_READ, Io::EOL_LF, B9600).CurrentState(), Io::Stateful::STATE_BROKEN);
    EXPECT_EQ(log_.Take(), LinesT{"E Io::Serial: unable to open \"/nonexistent\": no such file or directory."});
    ForEveryAllocation([&](Heap& heap) {
        heap.Arm();
        Io::Serial const port(path_.c_str(), Io::MODE_READ_WRITE, Io::EOL_LF, B9600);
        heap.Disarm();
        EXPECT_EQ(port.CurrentState() == Io::Stateful::STATE_BROKEN, heap.Fired());
        EXPECT_EQ(log_.Take().size(), heap.Fired());
    });
}

} // namespace
