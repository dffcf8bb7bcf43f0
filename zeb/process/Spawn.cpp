#include "zeb/process/SpawnImpl.h"

#include "zeb/core/ErrorString.h"
#include "zeb/core/StringMap.h"
#include "zeb/core/StringVector.h"
#include "zeb/io/Descriptor.h"
#include "zeb/process/ChildImpl.h"
#include "zeb/runtime/Environment.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

// The sanitizers keep books on memory that the child would share.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZEB_CHILD_SHARES 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ZEB_CHILD_SHARES 0
#endif
#endif
#ifndef ZEB_CHILD_SHARES
#define ZEB_CHILD_SHARES 1
#endif

namespace Posix {

namespace {

constexpr char const* IDENT = Process::IDENT;

constexpr int FIRST_OTHER = 3; // descriptor behind the standard ones

// An array of pointers that ends with null, and what else fits behind it.
class Block_ {
public:
    Block_() = default;
    ~Block_() { free(data_); }
    Block_(Block_ const&) = delete;
    Block_& operator=(Block_ const&) = delete;

    // The pointers are null. They come by the group, the bytes behind them in words.
    bool Allocate(unsigned long pointers, unsigned long bytes) {
        constexpr unsigned long GROUP = 8, WORD = 8, ALIGNMENT = 16;
        unsigned long const room = (pointers + GROUP - 1) / GROUP * GROUP * sizeof(char*);
        unsigned long const size = room + (bytes + WORD - 1) / WORD * WORD;
        if (posix_memalign(&data_, ALIGNMENT, size) != 0) {
            data_ = nullptr;
            return false;
        }
        memset(data_, 0, room);
        text_ = static_cast<char*>(data_) + room;
        return true;
    }

    char** Pointers() const { return static_cast<char**>(data_); }
    char* Text() const { return text_; }

private:
    void* data_ = nullptr;
    char* text_ = nullptr;
};

// Moves a descriptor above the standard ones, which the child replaces. False, with errno, if that fails.
bool Lift_(int& fd) {
    if (fd >= FIRST_OTHER) return true;
    int const lifted = fcntl(fd, F_DUPFD_CLOEXEC, FIRST_OTHER);
    int const error = errno;
    (void)close(fd); // the new one counts
    fd = lifted;
    errno = error;
    return fd >= 0;
}

class Spawner_ {
public:
    explicit Spawner_(Program_ const& program)
        : program_(program)
        , name_(program.name.Cstr()) {}

    int Run() {
        if (program_.ioDescriptor && *program_.ioDescriptor != -1)
            return Refuse_("unable to start with opened I/O descriptors");
        if (!MakeArguments_() || !OpenFeedback_() || !OpenSocket_() || !MakeEnvironment_()) return -1;
        MakePlan_();
        int const pid = Fork_();
        if (pid < 0) return -1;
        writer_.Reset();
        if (!IsRunning_(pid)) return -1;
        if (program_.ioDescriptor) *program_.ioDescriptor = parent_.Release();
        return pid;
    }

private:
    int Refuse_(char const* message) const {
        Log(Log::CRITICAL, IDENT, name_, message);
        return -1;
    }
    bool Fail_(char const* message) const {
        int const error = errno;
        Log(Log::CRITICAL, IDENT, name_, message) << ErrorString(error);
        return false;
    }
    bool NoMemory_() const {
        Log(Log::CRITICAL, IDENT, name_, "").Oom(ReturnT::Oom());
        return false;
    }

    bool MakeArguments_() {
        unsigned long const count = program_.arguments.Size();
        if (!argv_.Allocate(count + 2, 0)) return NoMemory_();
        char** out = argv_.Pointers();
        *out++ = const_cast<char*>(program_.path.Cstr());
        for (String const& argument : program_.arguments)
            *out++ = const_cast<char*>(argument.Cstr());
        return true;
    }

    bool OpenFeedback_() {
        int error = 0;
        if (!Io::Descriptor::CreatePipe(pipe_, IDENT, name_, Log::VERBOSE_OFF, &error)) {
            errno = error;
            return Fail_("unable to create a feedback pipe: %1");
        }
        return Lift_(pipe_[1]) || Fail_("unable to setup a feedback descriptor: %1");
    }

    bool OpenSocket_() {
        if (!program_.ioDescriptor) return true;
        if (Io::Descriptor::CreatePair(pair_, IDENT, SOCK_STREAM, Io::Descriptor::BLOCKING, Log::VERBOSE_ON,
                                       nullptr) &&
            Lift_(pair_[1]))
            return true;
        return Refuse_("unable to create I/O descriptors"), false;
    }

    bool MakeEnvironment_() {
        StringMap variables;
        if (Environment::GetAll(variables).Failed())
            return Refuse_("unable to get OS environment variables"), false;
        for (auto const& [key, value] : program_.environment)
            if (!variables.Set(key, value)) return Refuse_("unable to generate an environment set"), false;
        unsigned long bytes = 0;
        for (auto const& [key, value] : variables)
            bytes += key.Size() + value.Size() + sizeof "=";
        if (!envp_.Allocate(variables.Size() + 1, bytes)) return NoMemory_();
        return Print_(variables);
    }

    bool Print_(StringMap const& variables) {
        char** out = envp_.Pointers();
        char* text = envp_.Text();
        for (auto const& [key, value] : variables) {
            unsigned long const size = key.Size() + value.Size() + sizeof "=";
            // What has a zero inside comes out short.
            if (snprintf(text, size, "%s=%s", key.Cstr(), value.Cstr()) != static_cast<int>(size) - 1)
                return Refuse_("unable to generate a process environment set"), false;
            *out++ = text;
            text += size;
        }
        return true;
    }

    void MakePlan_() {
        plan_.argv = argv_.Pointers();
        plan_.envp = envp_.Pointers();
        plan_.chroot = program_.chroot.Cstr();
        (void)snprintf(plan_.oomScore, sizeof plan_.oomScore, "%d", program_.oomScore); // it fits
        plan_.feedback = pipe_[1];
        plan_.socket = pair_[1];
        plan_.discard = program_.output == Process::OUTPUT_DISCARD;
        plan_.newSession = program_.session == Process::SESSION_NEW;
        plan_.idleIo = program_.ioPrio == Process::IO_PRIO_IDLE;
        plan_.uid = program_.uid;
        plan_.gid = program_.gid;
        (void)fflush(
            nullptr); // output of this program goes ahead of the child's; what fails stays in its stream
        plan_.descriptors = static_cast<int>(sysconf(_SC_OPEN_MAX));
    }

    // Handlers wait until the child has memory of its own.
    int Fork_() {
        sigset_t all, before;
        sigfillset(&all);
        int const error = pthread_sigmask(SIG_SETMASK, &all, &before);
        if (error) {
            errno = error;
            return Fail_("unable to fork: %1"), -1;
        }
        int const pid = Clone_();
        int const failure = errno;
        (void)pthread_sigmask(SIG_SETMASK, &before, nullptr); // the arguments are sound
        errno = failure;
        if (pid < 0) (void)Fail_("unable to fork: %1");
        return pid;
    }

    int Clone_() {
#if ZEB_CHILD_SHARES
        constexpr unsigned long STACK_SIZE = 16384;
        alignas(16) char stack[STACK_SIZE];
        int const sharing = plan_.ChangesUser() ? 0 : CLONE_VM | CLONE_VFORK;
        return clone(RunChild_, stack + STACK_SIZE, sharing | SIGCHLD, &plan_);
#else
        int const pid = fork();
        return pid == 0 ? RunChild_(&plan_) : pid;
#endif
    }

    // What the pipe says; its end is that the program runs.
    bool IsRunning_(int pid) {
        Feedback_& record = plan_.record;
        char* const data = reinterpret_cast<char*>(&record);
        unsigned long size = 0;
        while (size < sizeof record) {
            ssize_t const count = read(pipe_[0], data + size, sizeof record - size);
            if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
            if (count <= 0) break;
            size += static_cast<unsigned long>(count);
        }
        if (size == 0) return true;
        (void)kill(pid, SIGKILL); // it may be gone
        while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
        }
        if (size < sizeof record) return Refuse_("unable to start"), false;
        record.message[sizeof record.message - 1] = '\0';
        Log(Log::CRITICAL, IDENT, name_, "unable to start (%1: %2)")
            << Log::L10n(record.message) << ErrorString(record.error);
        return false;
    }

    Program_ const& program_;
    char const* const name_;
    int pipe_[2] = {-1, -1};
    int pair_[2] = {-1, -1}; // the parent's end first
    Io::CloseGuard reader_{pipe_[0], IDENT, name_};
    Io::CloseGuard writer_{pipe_[1], IDENT, name_};
    Io::CloseGuard parent_{pair_[0], IDENT, name_};
    Io::CloseGuard child_{pair_[1], IDENT, name_};
    Block_ argv_;
    Block_ envp_;
    ChildPlan_ plan_ = {};
};

} // namespace

int Spawn_(Program_ const& program) { return Spawner_(program).Run(); }

} // namespace Posix
