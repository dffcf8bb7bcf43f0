#include "workbench/Calls.h"

#include "workbench/Failures.h"
#include "workbench/TempDir.h"

#include <cerrno>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

TEST(CallsTest, TakesStepsInOrderThenTheRealCall) {
    TempDir const dir;
    int const fd = open(dir.Write("f", "0123456789").c_str(), O_RDONLY);
    Calls calls;
    calls.Script(SysCall::read, {Calls::Fail(EINTR), Calls::Short(3), Calls::Data("abc"), Calls::Return(0)});
    std::string log;
    calls.Script(SysCall::read, {Calls::Do([&] { log = "seen"; }), Calls::Real()});
    std::pair<std::size_t, char const*> const rows[] = {// room, and what the read gives
                                                        {4, nullptr}, {4, "012"},  {2, "ab"}, {4, ""},
                                                        {1, "3"},     {4, "4567"}, {4, "89"}};
    for (auto const& [room, text] : rows) {
        char block[4];
        ssize_t const got = read(fd, block, room);
        EXPECT_EQ(got < 0, text == nullptr && errno == EINTR);
        EXPECT_EQ(std::string(block, got < 0 ? 0 : static_cast<std::size_t>(got)), text == nullptr ? "" : text);
        EXPECT_EQ(log, calls.Left(SysCall::read) < 2 ? "seen" : "");
    }
    EXPECT_EQ(calls.Count(SysCall::read), 7u);
    close(fd);
}

TEST(CallsTest, FailsEachFunctionInItsOwnWay) {
    Calls calls;
    calls.Script(SysCall::mmap, {Calls::Fail(EPERM)});
    calls.Script(SysCall::pthread_join, {Calls::Fail(EAGAIN)});
    calls.Script(SysCall::unlink, {Calls::Fail(EBUSY)}, 2);
    EXPECT_TRUE(mmap(nullptr, 1, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) == MAP_FAILED && errno == EPERM);
    EXPECT_EQ(pthread_join(pthread_self(), nullptr), EAGAIN);
    for (int const error : {EBUSY, ENOENT}) {
        EXPECT_TRUE(unlink("/tmp/nowhere") == -1 && errno == error) << errno;
        calls.Clear();
    }
}

TEST(CallsTest, FillsWhatTheCallGives) {
    Calls calls;
    calls.Script(SysCall::ioctl, {Calls::Value(17), Calls::Fail(ENOTTY)});
    int value = 0;
    EXPECT_TRUE(ioctl(0, FIONREAD, &value) == 0 && value == 17 && ioctl(0, FIONREAD, &value) == -1 && errno == ENOTTY);
    calls.Script(SysCall::poll, {Calls::Ready(POLLIN | POLLPRI), Calls::Ready(POLLERR), Calls::Ready(0), Calls::Fail(EINTR)});
    for (auto const& [result, first] : {std::pair(1, POLLIN), {2, POLLERR}, {1, 0}, {-1, POLLPRI}}) {
        pollfd fds[] = {{7, POLLIN, POLLPRI}, {-1, POLLIN, POLLIN}, {8, POLLOUT, POLLOUT}};
        EXPECT_EQ(poll(fds, 3, 0), result);
        EXPECT_EQ(fds[0].revents, first);
        EXPECT_TRUE(result < 0 || (fds[1].revents == 0 && fds[2].revents == (first & POLLERR)));
    }
}

TEST(CallsTest, IsOfThisThreadUnlessAskedForTheProcess) {
    Calls mine;
    Calls all(Calls::ScopeT::PROCESS);
    mine.Script(SysCall::rmdir, {Calls::Fail(EIO)});
    all.Script(SysCall::rmdir, {Calls::Fail(EROFS)});
    auto const refused = [](int error) { EXPECT_TRUE(rmdir("/nowhere") == -1 && errno == error) << strerror(errno); };
    std::thread(refused, EROFS).join();
    refused(EIO);
    EXPECT_EQ(std::pair(mine.Count(SysCall::rmdir), all.Count(SysCall::rmdir)), std::pair(1ul, 1ul));
}

void LeaveOver() {
    Calls calls;
    calls.Script(SysCall::fsync, {Calls::Fail(EIO)}, 2);
}

TEST(CallsTest, StepsLeftOverFail) { EXPECT_THAT_FAILS(LeaveOver(), "not made: fsync x 2"); }

} // namespace
