// One end of a pair of sockets: as an object to wait for, and in all its transports.
#pragma once

#include "tests/runtime/Worker.h"
#include "zeb/io/FdBase.h"
#include "zeb/io/Pollable.h"
#include "zeb/io/PollableBase.h"
#include "zeb/io/SocketBase.h"

#include <sys/socket.h>

using Io::Stateful;

struct End : Io::Pollable {
    explicit End(int descriptor, Io::ModeT wanted = Io::MODE_READ_WRITE)
        : Pollable(*this, "Object", fd, mode)
        , fd(descriptor)
        , mode(wanted) {}
    bool ObjIReady() const override { return buffered; }

    int fd;
    Io::ModeT mode;
    bool buffered = false;
    Log::VerboseT verbose = Log::VERBOSE_ON;
    Io::FdBase file{fd, mode, verbose, "Object", *this};
    Io::SocketBase socket{fd, mode, "Object", *this};
    Io::PollableBase waiting{socket, *this, "Object"};
};

constexpr uint32_t READY = 0x00320001, INTERRUPTED = 0x80320001, TIMED_OUT = 0x80320002;
constexpr uint32_t POLL_FAILED = 0x80320003, UNUSABLE = 0x80320004;

inline uint32_t WaitFor(Io::Pollable& object, Io::ModeT request, int timeoutMs) {
    Io::Pollable* objects[] = {nullptr, &object};
    Io::ModeT const requests[] = {Io::MODE_READ, request};
    pollfd fds[2];
    return Io::Pollable::Wait(objects, requests, fds, 2, timeoutMs, nullptr).Code();
}

template<int TYPE>
struct EndsTest : testing::Test {
    EndsTest() {
        EXPECT_EQ(socketpair(AF_UNIX, TYPE | SOCK_NONBLOCK, 0, pair_), 0);
        end_.fd = pair_[0];
    }
    ~EndsTest() override { ClosePeer(), close(pair_[0]); }
    void ClosePeer() {
        if (pair_[1] >= 0) close(pair_[1]);
        pair_[1] = -1;
    }
    void Send(std::string const& text) { ASSERT_EQ(write(pair_[1], text.data(), text.size()), ssize(text)); }

    using Lines = LogCapture::LinesT;
    int pair_[2];
    End end_{-1};
    char data_[16] = {};
    unsigned long done_ = 99;
    LogCapture log_;
};
