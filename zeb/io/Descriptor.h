#pragma once

// Static operations on plain file descriptors, and the guard that closes one. For transfers take a stream,
// for waiting Pollable.
//
// Owns       nothing: a descriptor that is given out is the caller's; a CloseGuard closes one at the
//            end of a scope
// Threads    any
// Waits      Open for a FIFO or a device without O_NONBLOCK in its flags, and Wait; an interruption
//            ends Wait alone
// Failure    by the result, and the errno through an optional pointer (0 on success); no state word is
//            touched. A non-zero `verbose` logs it under `ident`, with `context` as the name of the
//            object where there is one. Descriptors are opened close-on-exec

#include "zeb/core/CString.h"
#include "zeb/core/Log.h"
#include "zeb/stream/Mode.h"

namespace Time {
class Span;
}

namespace Io {

class ZEB_PUBLIC Descriptor {
public:
    // BLOCKING leaves a descriptor as it comes.
    enum Mode : int { BLOCKING = 1, NONBLOCKING = 2 };

    // Give the descriptor or -1.
    [[nodiscard]] static int Open(char const* path, int flags, unsigned int permissions, char const* ident,
                                  Mode mode, Log::VerboseT verbose, int* err);
    [[nodiscard]] static int Create(int domain, int type, int protocol, char const* ident, Mode mode,
                                    Log::VerboseT verbose, int* err);

    // Give two descriptors; both are -1 on failure.
    [[nodiscard]] static bool CreatePair(int* pair, char const* ident, int type, Mode mode,
                                         Log::VerboseT verbose, int* err);
    [[nodiscard]] static bool CreatePipe(int* pair, char const* ident, char const* context,
                                         Log::VerboseT verbose, int* err);

    [[nodiscard]] static bool SetNonblocked(int fd, char const* ident, Log::VerboseT verbose, int* err);

    // `keep` names the direction of a socket that stays open.
    static bool Shutdown(int fd, ModeT keep, char const* ident, char const* context, Log::VerboseT verbose,
                         int* err);

    // `fd` is -1 afterwards, whatever the result. A negative one is a success, and so is EINTR: the
    // descriptor is gone then.
    static bool Close(int& fd, char const* ident, char const* context, Log::VerboseT verbose, int* err);

    // Waits until a path can be opened, trying every 10 ms; false at the time-out or when the thread is
    // interrupted.
    [[nodiscard]] static bool Wait(CString const& path, Time::Span const& timeout, int flags,
                                   char const* ident, char const* context);

    class CloseGuard;

private:
    static bool SetNonblocked_(int fd, Mode mode, char const* ident, char const* context,
                               Log::VerboseT verbose, int* err);
    static int Ready_(int fd, Mode mode, char const* ident, char const* context, Log::VerboseT verbose,
                      int* err);
};

// Closes a descriptor at the end of a scope, and logs when that fails. Refers to a variable of the owner.
class ZEB_PUBLIC Descriptor::CloseGuard {
public:
    CloseGuard(int& fd, char const* ident, char const* context)
        : fd_(fd)
        , ident_(ident)
        , context_(context) {}
    CloseGuard(CloseGuard const&) = delete;
    CloseGuard& operator=(CloseGuard const&) = delete;
    ~CloseGuard() { Reset(); }

    bool FdValid() const { return fd_ >= 0 && !released_; }
    // Gives the descriptor up to the caller; -1 if that was done before.
    [[nodiscard]] int Release();
    // Closes now, if there is something to close.
    void Reset();

private:
    bool released_ = false;
    int& fd_;
    char const* ident_;
    char const* context_;
};

using CloseGuard = Descriptor::CloseGuard;

} // namespace Io
