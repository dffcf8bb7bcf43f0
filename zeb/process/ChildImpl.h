#pragma once

// The child's part of a start, from the fork to the new program. It shares its memory with this program, of
// which all other threads run on: it makes system calls, without libc, which has locks and a list of threads,
// and writes nothing but its plan.

#include <cstdint>

namespace Posix {

// What comes back through the pipe when a step has failed.
struct Feedback_ {
    int32_t error;
    char message[1024];
};
static_assert(sizeof(Feedback_) == 1028);

// All of it made ready ahead of the fork.
struct ChildPlan_ {
    static constexpr int OOM_SCORE_SIZE = 12;

    char* const* argv;
    char* const* envp;
    char const* chroot; // empty for none
    char oomScore[OOM_SCORE_SIZE];
    int feedback; // to write to; above the standard descriptors, as the next one
    int socket;   // or -1
    bool discard; // output
    bool newSession;
    bool idleIo;
    unsigned uid;
    unsigned gid;
    int descriptors; // their limit
    Feedback_ record;

    // Such a child must not share memory: the kernel would let the new user at this program.
    bool ChangesUser() const { return uid != 0 || gid != 0; }
};

// Takes a ChildPlan_, and does not return.
int RunChild_(void* plan);

} // namespace Posix
