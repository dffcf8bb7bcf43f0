// A private view of the system for the calling thread (and the threads and processes it starts), undone at
// the end of the scope.
//
//     ZEB_NEED_ROOT();                                    // skips the test when it cannot be done
//     Namespace space(Namespace::MOUNT | Namespace::NET); // loopback is up
//     space.SmallDisk(dir.Path(), 65536);                 // ENOSPC soon
//     DevLog log(space);                                  // /dev/log of our own
//
// Threads    the calling one and those that it starts afterwards; make and destroy it on the same thread
// Destroy    leaves the view; threads that were started inside stay in it, and keep what is mounted there
// Failure    a step that fails also fails the test, in words; Good() tells
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

class Namespace {
public:
    static constexpr int MOUNT = 1;
    static constexpr int NET = 2;

    // Null when this process may make one, else the reason.
    static char const* WhyNot();

    explicit Namespace(int kinds = MOUNT);
    ~Namespace();
    Namespace(Namespace const&) = delete;
    Namespace& operator=(Namespace const&) = delete;

    // True if all steps so far went well; a failed step also fails the test.
    bool Good() const { return good_; }

    // Makes `path` an empty folder in memory (made if missing; its parent must exist), of at most `bytes`; 0
    // is without limit.
    bool SmallDisk(std::string const& path, unsigned long bytes = 0);

    // Makes `path` a folder in memory with what the words name: "a/b=text" a file of one line, "a/b>c" a link
    // to c, "a/b" a folder; parents are made. A /sys of the test's own.
    bool Tree(std::string const& path, std::string const& words);

    // Puts `source` in the place of `target`, which must exist.
    bool Bind(std::string const& source, std::string const& target);

    // A /dev with null, zero, full, random, urandom, tty, pts and shm only.
    bool PrivateDev();

private:
    bool Step(bool done, char const* what, std::string const& path);

    int const kinds_;
    int mount_ = -1;
    int net_ = -1;
    int folder_ = -1;
    bool good_ = true;
    std::vector<std::string> scratch_;
};

// A socket at /dev/log in a private /dev, which takes what syslog() sends. RealSyslog (LogCapture.h) lets it.
class DevLog {
public:
    explicit DevLog(Namespace& space);
    ~DevLog();
    DevLog(DevLog const&) = delete;
    DevLog& operator=(DevLog const&) = delete;

    // The next datagram, or "" if none comes within `limitMs` of real time.
    std::string Next(int limitMs = 1000);

private:
    int fd_;
};

#define ZEB_NEED_ROOT()                                                                                      \
    do {                                                                                                     \
        if (char const* const why = Namespace::WhyNot()) GTEST_SKIP() << why;                                \
    } while (false)
