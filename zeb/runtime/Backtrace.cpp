#include "zeb/runtime/Backtrace.h"

#include "zeb/core/CString.h"
#include "zeb/core/ErrorString.h"
#include "zeb/runtime/BacktraceImpl.h"
#include "zeb/runtime/KernelBacktrace.h"
#include "zeb/runtime/Thread.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>

namespace {

constexpr char UNKNOWN[] = "<unknown>";
constexpr char CALL[] = "()"; // behind each name of the kernel
constexpr unsigned long CALL_SIZE = sizeof(CALL) - 1;
constexpr unsigned long KERNEL_NAME_MAX = 512;
constexpr unsigned long KERNEL_MODULE_MAX = 64;
constexpr unsigned long KERNEL_BLOCK = 256;

bool HasCall_(char const* name, unsigned long size) {
    return size > CALL_SIZE && memcmp(name + size - CALL_SIZE, CALL, CALL_SIZE) == 0;
}

} // namespace

Backtrace::Backtrace(UnwindT unwind)
    : threadName_(UNKNOWN)
    , unwind_(unwind) {}

Backtrace::~Backtrace() = default;

void Backtrace::Clear() {
    first_ = nullptr;
    threadName_ = UNKNOWN;
    flags_ = 0;
    error_[0] = '\0';
    arena_.Clear();
    tid_ = 0;
}

void Backtrace::SetError_(char const* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(error_, sizeof(error_), format, arguments);
    va_end(arguments);
}

bool Backtrace::StartUser_() {
    if (flags_ & USER_TAKEN) {
        SetError_("a user space call stack collected already");
        return false;
    }
    int const tid = Thread::Id();
    if ((flags_ & TID_KNOWN) && tid_ != tid) {
        SetError_("user thread ID mismatch; kernel: %d, user: %d", tid_, tid);
        return false;
    }
    if (Thread const* const self = Thread::Self()) {
        char const* const name = Copy_(self->Name().Cstr(), self->Name().Size());
        if (!name) {
            SetError_("out of memory");
            return false;
        }
        threadName_ = name;
    }
    flags_ |= USER_TAKEN | TID_KNOWN;
    tid_ = tid;
    return true;
}

bool Backtrace::StartKernel_(int tid) {
    if (flags_ & KERNEL_TAKEN) {
        SetError_("a kernel call stack collected already");
        return false;
    }
    if ((flags_ & TID_KNOWN) && tid_ != tid) {
        SetError_("kernel thread ID mismatch; kernel: %d, user: %d", tid, tid_);
        return false;
    }
    flags_ |= KERNEL_TAKEN | TID_KNOWN;
    tid_ = tid;
    return true;
}

bool Backtrace::GetKernel(int tid) {
    if (!StartKernel_(tid)) return false;
    char block[KERNEL_BLOCK], name[KERNEL_NAME_MAX + CALL_SIZE], module[KERNEL_MODULE_MAX];
    Linux::KernelBacktrace kernel(static_cast<unsigned long long>(tid), block, sizeof(block));
    Frame_* last = nullptr;
    for (unsigned long count = 0; count < KERNEL_FRAMES_MAX; ++count) {
        int code = kernel.Step();
        if (code < 0) SetError_("unable to go to a next stack frame: %s", ErrorString(-code));
        if (code <= 0) return code != -ENOENT && code != -ESRCH;
        unsigned long ip = 0, offset = 0, nameSize = 0, moduleSize = 0;
        code =
            kernel.GetFrame(ip, name, KERNEL_NAME_MAX, nameSize, offset, module, sizeof(module), moduleSize);
        if (code < 0) SetError_("unable to get a stack frame: %s", ErrorString(-code));
        if (code <= 0) return true;
        memcpy(name + strlen(name), CALL, sizeof(CALL)); // has room
        last = Append_(last, ip, name, offset);
        if (!last) return true;
        last->location = moduleSize > 1 ? Copy_(module, strlen(module)) : "<kernel>";
        if (!last->location) last->location = "";
    }
    return true;
}

void* Backtrace::Alloc_(unsigned long size) {
    void* const block = arena_.Alloc(size);
    if (!block) flags_ |= TRUNCATED;
    return block;
}

char const* Backtrace::Copy_(char const* text, unsigned long size) {
    char* const copy = static_cast<char*>(Alloc_(size + 1));
    if (!copy) return nullptr;
    memcpy(copy, text, size);
    copy[size] = '\0';
    return copy;
}

Backtrace::Frame_* Backtrace::Last_() const {
    Frame_* last = first_;
    while (last && last->next)
        last = last->next;
    return last;
}

// Behind the given frame, or in front of all.
Backtrace::Frame_* Backtrace::Append_(Frame_* behind, unsigned long ip, char const* name,
                                      unsigned long nameOffset) {
    unsigned long const size = strlen(name);
    Frame_* const frame = static_cast<Frame_*>(Alloc_(sizeof(Frame_)));
    char const* const copy = frame ? Copy_(name, size) : nullptr;
    if (!copy) return nullptr;
    Frame_*& link = behind ? behind->next : first_;
    *frame = {link, ip, copy, nameOffset, "", 0, size + 1};
    link = frame;
    return frame;
}

void Backtrace::Demangle() {
    if (flags_ & DEMANGLED || unwind_ & RAW_NAMES) return;
    flags_ |= DEMANGLED;
    char* buffer = nullptr;
    unsigned long size = 0;
    for (Frame_* frame = first_; frame; frame = frame->next)
        DemangleFrame_(*frame, buffer, size);
    free(buffer);
}

void Backtrace::DemangleFrame_(Frame_& frame, char*& buffer, unsigned long& size) {
    if (strncmp(frame.name, "_Z", 2) != 0) return;    // a C function "f" is no type "float"
    char* const name = const_cast<char*>(frame.name); // in the arena
    unsigned long const length = strlen(name);
    bool const call = HasCall_(name, length);
    if (call) name[length - CALL_SIZE] = '\0';
    int status = 0;
    char* const readable = abi::__cxa_demangle(name, buffer, &size, &status);
    if (readable) buffer = readable;
    if (readable && status == 0) {
        unsigned long const needed = strlen(readable) + 1;
        char const* const stored = needed <= frame.nameCapacity
                                       ? static_cast<char const*>(memcpy(name, readable, needed))
                                       : Copy_(readable, needed - 1);
        if (stored) {
            frame.name = stored;
            return;
        }
    }
    if (call) name[length - CALL_SIZE] = CALL[0];
}

unsigned long Backtrace::Frame::Ip() const { return frame_->ip; }
char const* Backtrace::Frame::Name() const { return frame_->name; }
unsigned long Backtrace::Frame::NameOffset() const { return frame_->nameOffset; }
char const* Backtrace::Frame::Location() const { return frame_->location; }
unsigned long Backtrace::Frame::LocationOffset() const { return frame_->locationOffset; }

Backtrace::Iterator& Backtrace::Iterator::operator++() {
    frame_ = frame_->next;
    return *this;
}
