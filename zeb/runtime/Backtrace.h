#pragma once

// Backtrace: the call stack of a thread, user and kernel side, as a list of frames with the innermost first.
// This is the walker that Log::Backtrace, Thread::GetBacktrace and the report of a crash share; a client that
// only wants the stack in its log streams a Log::Backtrace.
//
//     Backtrace backtrace(Backtrace::NAMES);
//     backtrace.GetUser(0, nullptr);                        // of this very function
//     backtrace.Demangle();
//     for (Backtrace::Frame const& frame : backtrace)
//         printf("%s+0x%lx\n", frame.Name(), frame.NameOffset());
//
// Owns      all texts, in an arena whose first 8192 bytes lie in the object; they end with Clear() or the
// object. The object
//           is large: on the stack of a thread it fits, on an alternate signal stack it should be static
// Threads   one at a time; GetUser() walks the calling thread. For another one: Thread::GetBacktrace
// (Thread.h) Signals   GetUser() and GetKernel() use neither heap nor lock of this library, further memory
// comes straight from the kernel;
//           Demangle() uses the heap
// Fails     by Error(), which keeps the last failure in words; the frames taken before it remain. When memory
// ran out, or
//           at FRAMES_MAX, Truncated() is true and the outermost frames are missing

#include "zeb/core/Export.h"
#include "zeb/core/Pool.h"

class ZEB_PUBLIC Backtrace {
public:
    // What to take: a set of bits, and the two sets that the library uses.
    enum UnwindT : unsigned {
        LOCATIONS = 1, // the object file of each frame too
        IN_SIGNAL = 2, // drop all up to and with the frame of the signal, in place of the first `skip` frames
        RAW_NAMES = 4, // Demangle() does nothing
        NAMES = 8,     // the plain walk
        CRASH = LOCATIONS | IN_SIGNAL,
    };

    static constexpr char const CUT[] = "[...]"; // closes a list that was truncated
    static constexpr unsigned long FRAMES_MAX = 512;
    static constexpr unsigned long KERNEL_FRAMES_MAX = 64;

    class Frame;
    class Iterator;
    class Regs;

    explicit Backtrace(UnwindT unwind);
    ~Backtrace();
    Backtrace(Backtrace const&) = delete;
    Backtrace& operator=(Backtrace const&) = delete;

    // Appends the stack of the calling thread, without the first `skip` frames; 0 starts at the function that
    // calls this one. `regs`, if it is given and still empty, gets the registers of the first frame that is
    // kept. Once until Clear().
    void GetUser(unsigned long skip, Regs* regs);

    // Puts the kernel's side of a thread ahead. False, with Error() set, if the thread has ended, if it is
    // not the one of GetUser(), or on a second call. A kernel that shows this side to nobody or not to this
    // user is no failure; Error() tells.
    bool GetKernel(int tid);

    // Turns the names of C++ functions into readable ones. Once until Clear().
    void Demangle();

    // Back to the state behind construction.
    void Clear();

    char const* ThreadName() const { return threadName_; }
    char const* Error() const { return error_; } // "" if nothing failed
    bool Empty() const { return first_ == nullptr; }
    bool Truncated() const { return (flags_ & TRUNCATED) != 0; }

    Iterator begin() const;
    Iterator end() const;

    // Whether this build can walk a stack.
    static bool Supported() { return true; }

private:
    static constexpr unsigned TRUNCATED = 0x01;
    static constexpr unsigned DEMANGLED = 0x02;
    static constexpr unsigned KERNEL_TAKEN = 0x04;
    static constexpr unsigned USER_TAKEN = 0x08;
    static constexpr unsigned TID_KNOWN = 0x10;

    struct Frame_;
    class Walk_;

    bool StartUser_();
    bool StartKernel_(int tid);
    void SetError_(char const* format, ...) __attribute__((format(printf, 2, 3)));
    void* Alloc_(unsigned long size);
    char const* Copy_(char const* text, unsigned long size);
    Frame_* Last_() const;
    Frame_* Append_(Frame_* behind, unsigned long ip, char const* name, unsigned long nameOffset);
    void DemangleFrame_(Frame_& frame, char*& buffer, unsigned long& size);

    Frame_* first_ = nullptr;
    char const* threadName_;
    UnwindT const unwind_;
    unsigned flags_ = 0;
    char error_[128] = {};
    Pool<8192> arena_;
    int tid_ = 0;
};

// One frame, a view of the backtrace.
class ZEB_PUBLIC Backtrace::Frame {
public:
    unsigned long Ip() const; // address of the next instruction
    // Of the function; "...()" on the kernel side. Where there is no symbol it is the file of the code,
    // "<gateway>", and without a file "<unknown>".
    char const* Name() const;
    // Of the address from the start of the function; of its mapping where the name is that of a file.
    unsigned long NameOffset() const;
    char const*
    Location() const; // path of the mapped file, or "" when it was not asked for; module of the kernel
    unsigned long LocationOffset() const; // of the address from the start of that mapping

private:
    friend class Iterator;
    explicit Frame(Frame_ const* frame)
        : frame_(frame) {}

    Frame_ const* frame_;
};

class ZEB_PUBLIC Backtrace::Iterator {
public:
    Frame operator*() const { return Frame(frame_); }
    Iterator& operator++();
    bool operator==(Iterator const& other) const { return frame_ == other.frame_; }
    bool operator!=(Iterator const& other) const { return frame_ != other.frame_; }

private:
    friend class Backtrace;
    explicit Iterator(Frame_ const* frame)
        : frame_(frame) {}

    Frame_ const* frame_;
};

// The registers of a frame as rows of text, with the processor's own names.
class ZEB_PUBLIC Backtrace::Regs {
public:
    Regs() = default;

    char const* Cstr() const { return text_; }
    bool Empty() const { return text_[0] == '\0'; }

private:
    friend class Walk_;
    class Dump_;

    char text_[1024] = {};
};

inline Backtrace::Iterator Backtrace::begin() const { return Iterator(first_); }
inline Backtrace::Iterator Backtrace::end() const { return Iterator(nullptr); }
