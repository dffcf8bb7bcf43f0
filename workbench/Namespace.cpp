#include "workbench/Namespace.h"

#include "workbench/Clock.h"
#include "workbench/Workbench.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

char const* const DEVICES[] = {"null", "zero", "full", "random", "urandom", "tty"};

bool LoopbackUp() {
    int const fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request = {};
    strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP | IFF_RUNNING;
    bool const done = fd >= 0 && ioctl(fd, SIOCSIFFLAGS, &request) == 0;
    if (fd >= 0) close(fd);
    return done;
}

// A thread that has been joined shares the file system with this one for some moments more, and the kernel
// moves none that shares.
bool LeaveMounts(int fd) {
    for (int i = 0; i < 1000; ++i) {
        if (setns(fd, CLONE_NEWNS) == 0) return true;
        if (errno != EINVAL) return false;
        Clock::RealPause(1);
    }
    errno = EINVAL;
    return false;
}

// A place for a mount that is moved or linked to later.
std::string Scratch() {
    std::string path = "/tmp/zebspace.XXXXXX";
    return mkdtemp(path.data()) == nullptr ? std::string() : path;
}

} // namespace

char const* Namespace::WhyNot() {
    static bool const can = [] {
        pid_t const pid = fork();
        if (pid == 0) _exit(unshare(CLONE_NEWNS | CLONE_NEWNET) == 0 ? 0 : 1);
        int status = 1;
        return pid > 0 && waitpid(pid, &status, 0) == pid && status == 0;
    }();
    return can ? nullptr : "needs root and namespaces";
}

Namespace::Namespace(int kinds)
    : kinds_(kinds) {
    Workbench::Own const own;
    // A sanitizer starts a thread of its own with the first of the program. Inside it would share the mounts
    // for good, and they could not be left.
    static bool const isThreaded = (std::thread([] {}).join(), true);
    (void)isThreaded;
    mount_ = open("/proc/thread-self/ns/mnt", O_RDONLY | O_CLOEXEC);
    net_ = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
    folder_ = open(".", O_PATH | O_CLOEXEC);
    if ((kinds & MOUNT) != 0) {
        Step(unshare(CLONE_NEWNS) == 0, "unshare mounts", "");
        Step(mount("", "/", "", MS_REC | MS_PRIVATE, nullptr) == 0, "make private", "/");
    }
    if ((kinds & NET) != 0) {
        Step(unshare(CLONE_NEWNET) == 0, "unshare network", "");
        Step(LoopbackUp(), "raise loopback", "lo");
    }
}

Namespace::~Namespace() {
    Workbench::Own const own;
    if ((kinds_ & NET) != 0) Step(setns(net_, CLONE_NEWNET) == 0, "leave network", "");
    if ((kinds_ & MOUNT) != 0) {
        if (!Step(LeaveMounts(mount_), "leave mounts", "")) {
            // What comes next would act on the files behind the mounts: a folder that is removed, for one.
            fprintf(stderr, "Namespace: the mounts of a test cannot be left\n");
            abort();
        }
        Step(fchdir(folder_) == 0, "return to", "working folder");
    }
    for (int const fd : {mount_, net_, folder_})
        close(fd);
    for (std::string const& path : scratch_)
        rmdir(path.c_str());
}

bool Namespace::Step(bool done, char const* what, std::string const& path) {
    if (done) return true;
    ADD_FAILURE() << "Namespace: " << what << " " << path << ": " << strerror(errno);
    return good_ = false;
}

bool Namespace::SmallDisk(std::string const& path, unsigned long bytes) {
    Workbench::Own const own;
    mkdir(path.c_str(), 0755);
    std::string options = "mode=755";
    if (bytes != 0) options += ",size=" + std::to_string(bytes);
    return Step(mount("tmpfs", path.c_str(), "tmpfs", 0, options.c_str()) == 0, "mount a disk at", path);
}

bool Namespace::Tree(std::string const& path, std::string const& words) {
    Workbench::Own const own;
    if (!SmallDisk(path)) return false;
    std::istringstream stream(words);
    for (std::string word; stream >> word;) {
        std::size_t const mark = std::min(word.find_first_of("=>"), word.size());
        fs::path const entry = fs::path(path) / word.substr(0, mark);
        std::string const rest = word.substr(std::min(mark + 1, word.size()));
        std::error_code error;
        fs::create_directories(mark == word.size() ? entry : entry.parent_path(), error);
        if (word[mark] == '>') fs::create_symlink(rest, entry, error);
        bool const written = word[mark] != '=' || std::ofstream(entry) << rest << "\n" << std::flush;
        if (!Step(written && !error, "make", word)) return false;
    }
    return true;
}

bool Namespace::Bind(std::string const& source, std::string const& target) {
    Workbench::Own const own;
    return Step(mount(source.c_str(), target.c_str(), "", MS_BIND | MS_REC, nullptr) == 0, "bind", target);
}

bool Namespace::PrivateDev() {
    Workbench::Own const own;
    std::string const fresh = Scratch();
    scratch_.push_back(fresh);
    if (!SmallDisk(fresh)) return false;
    for (char const* const name : DEVICES) {
        std::ofstream(fresh + "/" + name).flush();
        if (!Bind(std::string("/dev/") + name, fresh + "/" + name)) return false;
    }
    for (char const* const name : {"pts", "shm"}) {
        if (!fs::exists(std::string("/dev/") + name)) continue;
        mkdir((fresh + "/" + name).c_str(), 0755);
        if (!Bind(std::string("/dev/") + name, fresh + "/" + name)) return false;
    }
    symlink("pts/ptmx", (fresh + "/ptmx").c_str());
    symlink("/proc/self/fd", (fresh + "/fd").c_str());
    return Step(mount(fresh.c_str(), "/dev", "", MS_MOVE, nullptr) == 0, "move to", "/dev");
}

DevLog::DevLog(Namespace& space)
    : fd_(-1) {
    Workbench::Own const own;
    if (!space.PrivateDev()) return;
    fd_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    strcpy(address.sun_path, "/dev/log");
    if (bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0)
        ADD_FAILURE() << "cannot bind /dev/log: " << strerror(errno);
}

DevLog::~DevLog() {
    Workbench::Own const own;
    if (fd_ >= 0) close(fd_);
}

std::string DevLog::Next(int limitMs) {
    Workbench::Own const own;
    pollfd entry = {fd_, POLLIN, 0};
    if (Workbench::RealPoll(&entry, 1, {limitMs / 1000, limitMs % 1000 * 1000000L}) <= 0) return {};
    char block[8192];
    ssize_t const size = recv(fd_, block, sizeof(block), 0);
    return size > 0 ? std::string(block, static_cast<std::size_t>(size)) : std::string();
}
