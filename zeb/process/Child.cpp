#include "zeb/process/ChildImpl.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <linux/close_range.h>
#include <sys/syscall.h>
#include <type_traits>
#include <unistd.h>

namespace Posix {

namespace {

constexpr int FIRST_OTHER = 3; // descriptor behind the standard ones

constexpr char const OOM_SCORE_PATH[] = "/proc/self/oom_score_adj";
constexpr char const NULL_DEVICE[] = "/dev/null";

constexpr long IO_WHO_PROCESS = 1;
constexpr long IO_IDLE_7 = 0x6007; // the class "idle", level 7

// As the kernel has it.
constexpr int SIGNALS = 64;
struct SignalActionT {
    void (*handler)(int);
    unsigned long flags;
    void (*restorer)();
    uint64_t mask;
};

template<class T>
long Word_(T argument) {
    if constexpr (std::is_integral_v<T>)
        return static_cast<long>(argument);
    else
        return reinterpret_cast<long>(argument);
}

template<class... T>
long Call_(long number, T... arguments) {
    return syscall(number, Word_(arguments)...);
}

// Tries again what a signal has interrupted.
template<class... T>
long CallAgain_(long number, T... arguments) {
    long result;
    do
        result = Call_(number, arguments...);
    while (result < 0 && (errno == EINTR || errno == EAGAIN));
    return result;
}

class Child_ {
public:
    explicit Child_(ChildPlan_& plan)
        : plan_(plan) {}

    [[noreturn]] void Run() {
        bool const adjusted = SetOomScore_();
        bool const ready = OpenNullDevice_() && adjusted && Redirect_() && ResetSignals_() && SetSession_() &&
                           SetRoot_() && SetUser_() && SetIoPriority_();
        if (ready) Execute_();
        Report_();
        for (;;)
            (void)Call_(SYS_exit_group, 1L);
    }

private:
    // Notes the first failure; its result is false.
    bool Fail_(char const* message) {
        Feedback_& record = plan_.record;
        if (record.message[0] != '\0') return false;
        record.error = errno;
        for (unsigned long i = 0; message[i] != '\0'; ++i)
            record.message[i] = message[i];
        return false;
    }

    bool SetOomScore_() {
        long const fd = Call_(SYS_openat, AT_FDCWD, OOM_SCORE_PATH, O_WRONLY | O_CLOEXEC);
        if (fd < 0) return errno == ENOENT || Fail_("unable to open an OOM score adjustment file");
        if (CallAgain_(SYS_write, fd, plan_.oomScore, __builtin_strlen(plan_.oomScore)) < 0)
            return Fail_("unable to write to an OOM score adjustment file");
        return Call_(SYS_close, fd) == 0 || errno == EINTR ||
               Fail_("unable to close an OOM score adjustment file");
    }

    // Above the standard descriptors, one of which it may take when this program has not all of them.
    bool OpenNullDevice_() {
        if (!plan_.discard) return true;
        nullDevice_ = Call_(SYS_openat, AT_FDCWD, NULL_DEVICE, O_WRONLY | O_CLOEXEC);
        if (nullDevice_ >= 0 && nullDevice_ < FIRST_OTHER)
            nullDevice_ = Call_(SYS_fcntl, nullDevice_, F_DUPFD_CLOEXEC, FIRST_OTHER);
        return nullDevice_ >= 0 || Fail_("unable to open the null device");
    }

    bool Redirect_() {
        if (plan_.socket < 0) return true;
        long const output = plan_.discard ? nullDevice_ : plan_.socket;
        return (Call_(SYS_dup3, plan_.socket, STDIN_FILENO, 0) >= 0 &&
                Call_(SYS_dup3, output, STDOUT_FILENO, 0) >= 0 &&
                Call_(SYS_dup3, output, STDERR_FILENO, 0) >= 0) ||
               Fail_("unable to duplicate I/O descriptors");
    }

    // A handler of this program would run in its memory as soon as its signal is let in.
    bool ResetSignals_() {
        for (int signal = 1; signal <= SIGNALS; ++signal) {
            SignalActionT action = {};
            if (Call_(SYS_rt_sigaction, signal, nullptr, &action, sizeof action.mask) != 0) continue;
            if (action.handler == SIG_DFL || action.handler == SIG_IGN) continue;
            action = {};
            (void)Call_(SYS_rt_sigaction, signal, &action, nullptr,
                        sizeof action.mask); // as it was asked for
        }
        uint64_t const all = ~0UL;
        return Call_(SYS_rt_sigprocmask, SIG_UNBLOCK, &all, nullptr, sizeof all) == 0 ||
               Fail_("unable to unblock signals");
    }

    bool SetSession_() {
        return !plan_.newSession || Call_(SYS_setsid) >= 0 || Fail_("unable to create a new process session");
    }

    bool SetRoot_() {
        return plan_.chroot[0] == '\0' ||
               (Call_(SYS_chroot, plan_.chroot) == 0 && Call_(SYS_chdir, "/") == 0) ||
               Fail_("unable to change a root directory");
    }

    bool SetUser_() {
        if (plan_.uid != 0 && Call_(SYS_setuid, plan_.uid) != 0) return Fail_("unable to setuid");
        return plan_.gid == 0 || Call_(SYS_setgid, plan_.gid) == 0 || Fail_("unable to setgid");
    }

    bool SetIoPriority_() {
        return !plan_.idleIo || Call_(SYS_ioprio_set, IO_WHO_PROCESS, 0, IO_IDLE_7) == 0 ||
               Fail_("unable to I/O priority");
    }

    void Execute_() {
        // All of them close by themselves; a kernel that cannot do that has them closed one by one.
        if (Call_(SYS_close_range, FIRST_OTHER, ~0U, CLOSE_RANGE_CLOEXEC) != 0) CloseOneByOne_();
        (void)Call_(SYS_execve, plan_.argv[0], plan_.argv, plan_.envp); // it has failed when it returns
        Fail_("unable to execute a process");
    }

    void CloseOneByOne_() const {
        for (int fd = plan_.descriptors - 1; fd >= FIRST_OTHER; --fd)
            if (fd != plan_.feedback && fd != nullDevice_) (void)Call_(SYS_close, fd); // most are not open
    }

    // Nobody is left to tell if this fails.
    void Report_() const {
        char const* data = reinterpret_cast<char const*>(&plan_.record);
        for (unsigned long left = sizeof plan_.record; left != 0;) {
            long const count = CallAgain_(SYS_write, plan_.feedback, data, left);
            if (count <= 0) return;
            data += count;
            left -= static_cast<unsigned long>(count);
        }
    }

    ChildPlan_& plan_;
    long nullDevice_ = -1;
};

} // namespace

int RunChild_(void* plan) { Child_(*static_cast<ChildPlan_*>(plan)).Run(); }

} // namespace Posix
