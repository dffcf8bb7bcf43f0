// What the parts of the workbench share; tests do not include it. __real_x is the system's x, __wrap_x is
// ours.
#pragma once

#include "libzeb/zeb_tlv.h"

#include <atomic>

#include <cstddef>
#include <ctime>

#include <dirent.h>
#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/provider.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/types.h>
#include <unistd.h>

namespace Workbench {

// Not a system mutex, since those are watched themselves.
class SpinLock {
public:
    class Guard {
    public:
        explicit Guard(SpinLock& lock)
            : lock_(lock) {
            while (lock_.taken_.exchange(true, std::memory_order_acquire))
                sched_yield();
        }
        ~Guard() { lock_.taken_.store(false, std::memory_order_release); }
        Guard(Guard const&) = delete;
        Guard& operator=(Guard const&) = delete;

    private:
        SpinLock& lock_;
    };

private:
    std::atomic<bool> taken_{false};
};

// The allocations and calls of the workbench itself, in this scope on this thread, are not watched.
class Own {
public:
    Own() { ++depth_; }
    ~Own() { --depth_; }
    Own(Own const&) = delete;
    Own& operator=(Own const&) = delete;
    static bool Here() { return depth_ != 0; }
    static void Reset() { depth_ = 0; }

private:
    static constinit thread_local int depth_;
};

// Watched system calls of this thread since it began.
unsigned long CallsOfThread();

// How many expectations have failed in the running test.
unsigned long FailedParts();

int Poll(pollfd* fds, nfds_t count, int timeout);
int Nanosleep(timespec const* time, timespec* left);
int Sigtimedwait(sigset_t const* set, siginfo_t* info, timespec const* timeout);
int ClockGettime(clockid_t clock, timespec* out);
int TimerSettime(timer_t timer, int flags, itimerspec const* value, itimerspec* old);
int CondSignal(pthread_cond_t* condition);
int CondBroadcast(pthread_cond_t* condition);
int CondTimedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, timespec const* deadline);
void* Mmap(void* address, size_t size, int protection, int flags, int fd, off_t offset);
int Munmap(void* address, size_t size);

// Real milliseconds of the monotonic clock, whatever Clock says.
long RealMilliseconds();
void RealSleep(long milliseconds);
int RealPoll(pollfd* fds, nfds_t count, timespec const& limit);

} // namespace Workbench
