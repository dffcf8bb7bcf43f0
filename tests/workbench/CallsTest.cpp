#include "workbench/Calls.h"

#include "tests/workbench/SelfTest.h"
#include "workbench/TempDir.h"

#include <cerrno>
#include <thread>

#include <fcntl.h>
#include <pthread.h>
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
    char block[4] = {};
    EXPECT_EQ(read(fd, block, 4), -1);
    EXPECT_EQ(errno, EINTR);
    EXPECT_EQ(read(fd, block, 4), 3);
    EXPECT_EQ(std::string(block, 3), "012");
    EXPECT_EQ(read(fd, block, 2), 2);
    EXPECT_EQ(std::string(block, 3), "ab2");
    EXPECT_EQ(read(fd, block, 4), 0);
    EXPECT_EQ(calls.Left(SysCall::read), 2u);
    EXPECT_EQ(read(fd, block, 1), 1);
    EXPECT_EQ(log, "seen");
    EXPECT_EQ(read(fd, block, 4), 4);
    EXPECT_EQ(read(fd, block, 4), 2);
    EXPECT_EQ(calls.Count(SysCall::read), 7u);
    close(fd);
}

TEST(CallsTest, FailsEachFunctionInItsOwnWay) {
    Calls calls;
    calls.Script(SysCall::mmap, {Calls::Fail(EPERM)});
    calls.Script(SysCall::pthread_join, {Calls::Fail(EAGAIN)});
    calls.Script(SysCall::unlink, {Calls::Fail(EBUSY)}, 2);
    EXPECT_EQ(mmap(nullptr, 1, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0), MAP_FAILED);
    EXPECT_EQ(errno, EPERM);
    EXPECT_EQ(pthread_join(pthread_self(), nullptr), EAGAIN);
    EXPECT_EQ(unlink("/tmp/nowhere"), -1);
    EXPECT_EQ(errno, EBUSY);
    calls.Clear();
    unlink("/tmp/nowhere");
    EXPECT_EQ(errno, ENOENT);
}

TEST(CallsTest, IsOfThisThreadUnlessAskedForTheProcess) {
    Calls mine;
    Calls all(Calls::ScopeT::PROCESS);
    mine.Script(SysCall::rmdir, {Calls::Fail(EIO)});
    all.Script(SysCall::rmdir, {Calls::Fail(EROFS)});
    int theirs = 0;
    std::thread([&] {
        rmdir("/nowhere");
        theirs = errno;
    }).join();
    EXPECT_EQ(theirs, EROFS);
    rmdir("/nowhere");
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(mine.Count(SysCall::rmdir), 1u);
    EXPECT_EQ(all.Count(SysCall::rmdir), 1u);
}

void LeaveOver() {
    Calls calls;
    calls.Script(SysCall::fsync, {Calls::Fail(EIO)}, 2);
}

TEST(CallsTest, StepsLeftOverFail) { EXPECT_THAT_FAILS(LeaveOver(), "not made: fsync x 2"); }

} // namespace
