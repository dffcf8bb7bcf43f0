#include "workbench/Child.h"

#include "workbench/Failures.h"
#include "workbench/Feed.h"
#include "workbench/LogCapture.h"
#include "workbench/Namespace.h"
#include "workbench/TempDir.h"

#include <cerrno>
#include <cstdlib>
#include <set>
#include <thread>

#include <arpa/inet.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>

#include <gmock/gmock.h>

namespace {

TEST(ChildTest, TellsHowAProcessEnded) {
    EXPECT_EQ(Child::Run([] { raise(SIGTERM); }).Signal(), SIGTERM);
    Child const plain = Child::Run([] {
        printf("out"), fprintf(stderr, "err");
        return 7;
    });
    EXPECT_EQ(plain.ExitCode(), 7);
    EXPECT_EQ(plain.Output() + plain.Errors(), "outerr");
    EXPECT_TRUE(Child::Run([] { pause(); }, 20).TimedOut());
    // Of another thread, since a failure of this one would not be seen in the child either.
    EXPECT_THAT_FAILS(Child::Run([] { std::thread([] { EXPECT_EQ(1, 2); }).join(); }), "failed in a child");
}

TEST(ChildTest, StartsOtherPrograms) {
    std::string const large(200000, 'x');
    EXPECT_EQ(Child::Program({"cat"}, large).Output(), large);
    EXPECT_EQ(Child::Program({"/nowhere/at/all"}).ExitCode(), 127);
}

TEST(NamespaceTest, ChangesOfFilesAreSeenInsideOnly) {
    ZEB_NEED_ROOT();
    TempDir const dir;
    {
        Namespace space(Namespace::MOUNT);
        ASSERT_TRUE(space.SmallDisk(dir / "small", 65536));
        int const fd = open((dir / "small/file").c_str(), O_CREAT | O_WRONLY, 0600);
        std::string const block(65536, 'x');
        EXPECT_EQ(write(fd, block.data(), block.size()), 65536);
        EXPECT_TRUE(write(fd, "x", 1) == -1 && errno == ENOSPC);
        close(fd);
        EXPECT_THAT_FAILS(space.Bind("/nowhere", "/etc"), "bind /etc");
    }
    EXPECT_FALSE(dir.Exists("small/file"));
}

TEST(NamespaceTest, LoopbackOfItsOwnIsUp) {
    ZEB_NEED_ROOT();
    Namespace space(Namespace::NET);
    int const fd = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in address = {AF_INET, htons(1), {htonl(INADDR_LOOPBACK)}, {}};
    EXPECT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_EQ(sendto(fd, "x", 1, 0, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 1);
    close(fd);
}

TEST(NamespaceTest, AnOwnSystemLogTakesRealLines) {
    ZEB_NEED_ROOT();
    Child const child = Child::Run([] {
        Namespace space;
        DevLog log(space);
        RealSyslog const real;
        openlog("me", LOG_NDELAY, LOG_USER);
        syslog(LOG_ERR, "%s: %d", "A", 5);
        EXPECT_THAT(log.Next(), testing::AllOf(testing::StartsWith("<11>"), testing::HasSubstr("me: A: 5")));
        EXPECT_EQ(access("/dev/null", W_OK), 0);
    });
    EXPECT_EQ(child.ExitCode(), 0) << child;
}

TEST(FeedTest, GivesManyCutsAndNamesTheOneThatFails) {
    std::set<std::size_t> counts;
    ForEveryFeed("The quick brown fox", [&](FeedT const& pieces) { counts.insert(pieces.size()); });
    for (std::size_t const pieces : {1, 10, 19}) EXPECT_EQ(counts.count(pieces), 1u) << pieces;
    EXPECT_THAT_FAILS(ForEveryFeed("ab", [](FeedT const& pieces) { EXPECT_EQ(pieces.size(), 1u); }), "fed by 1");
    std::string reads;
    ForEveryRead("ab", [&](char const* path) {
        char text[9];
        int const file = open(path, O_RDONLY);
        for (int i = 0; i < 5; ++i) reads += std::to_string(read(file, text, sizeof text)) + " ";
        close(file);
    });
    EXPECT_EQ(reads, "2 0 0 0 0 -1 1 -1 -1 1 ");
    EXPECT_THAT_FAILS(ForEveryRead("", [](char const* path) { (void)open(path, O_RDONLY); }), "left open");
    EXPECT_EQ(Damaged("abc", '~'), (std::vector<std::string>{"bc", "~bc", "a", "ac", "a~c", "ab", "ab", "ab~"}));
}

} // namespace
