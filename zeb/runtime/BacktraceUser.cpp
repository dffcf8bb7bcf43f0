// The walk over the stack of the calling thread, with libunwind.

#define UNW_LOCAL_ONLY
#include "zeb/core/CString.h"
#include "zeb/runtime/BacktraceImpl.h"
#include "zeb/runtime/Mapper.h"
#include "zeb/runtime/SymbolsImpl.h"
#include "zeb/runtime/Thread.h"

#include <cstdio>
#include <cstring>
#include <libunwind.h>
#include <new>

// The section of the functions marked ZEB_UNSEEN, by the linker.
extern "C" [[gnu::visibility("hidden")]] char const __start_zeb_unseen[], __stop_zeb_unseen[];

namespace {

constexpr int VALUE_WIDTH = 16;
constexpr int SECOND_WIDTH = 8; // of the second name in a row

// A register as text; "-" if the frame has not kept it.
class Value_ {
public:
    Value_(unw_cursor_t& cursor, Register_ const& which) {
        unw_word_t value = 0;
        if (!which.name) {
            text_[0] = '\0';
        } else if (unw_get_reg(&cursor, which.number, &value) == 0) {
            snprintf(text_, sizeof(text_), "%0*lx", VALUE_WIDTH, static_cast<unsigned long>(value));
        } else {
            memcpy(text_, "-", sizeof("-"));
        }
    }
    char const* Cstr() const { return text_; }

private:
    char text_[VALUE_WIDTH + 1];
};

} // namespace

// Writes the rows.
class Backtrace::Regs::Dump_ {
public:
    Dump_(Regs& regs, unw_cursor_t& cursor)
        : at_(regs.text_)
        , left_(sizeof(regs.text_))
        , cursor_(cursor) {}

    void Print() {
        for (unsigned long i = 0; i < REGISTERS_.count; i += 2)
            Row_(REGISTERS_.general[i], i + 1 < REGISTERS_.count ? REGISTERS_.general[i + 1] : Register_{});
        Printf("\n");
        for (unsigned long i = 0; i < REGISTERS_.lastCount; ++i)
            Row_(REGISTERS_.last[i][0], REGISTERS_.last[i][1]);
    }

    // A text that does not fit is left out.
    void Printf(char const* format, ...) __attribute__((format(printf, 2, 3))) {
        va_list arguments;
        va_start(arguments, format);
        int const size = vsnprintf(at_, left_, format, arguments);
        va_end(arguments);
        if (size < 0 || static_cast<unsigned long>(size) >= left_) {
            *at_ = '\0';
            return;
        }
        at_ += size;
        left_ -= static_cast<unsigned long>(size);
    }

private:
    void Row_(Register_ const& first, Register_ const& second) {
        Value_ const a(cursor_, first);
        Value_ const b(cursor_, second);
        char const* const name = first.name ? first.name : "";
        char const mark = first.name ? ':' : ' ';
        if (second.name) {
            Printf("%5s%c %*s%*s: %*s\n", name, mark, VALUE_WIDTH, a.Cstr(), SECOND_WIDTH, second.name,
                   VALUE_WIDTH, b.Cstr());
        } else {
            Printf("%5s%c %*s\n", name, mark, VALUE_WIDTH, a.Cstr());
        }
    }

    char* at_;
    unsigned long left_;
    unw_cursor_t& cursor_;
};

// One walk from the frame of GetUser() outwards.
class Backtrace::Walk_ {
public:
    Walk_(Backtrace& owner, unw_cursor_t& cursor, Regs* regs)
        : owner_(owner)
        , cursor_(cursor)
        , regs_(regs) {}

    void Run(unsigned long skip) {
        if (!(owner_.unwind_ & IN_SIGNAL)) {
            for (bool unseen = true; Step_();) {
                unseen = unseen && IsUnseen_();
                if (!unseen && skip-- == 0) return TakeAll_();
            }
        } else if (SkipSignal_() && (REGISTERS_.interruptedIsSignalFrame || Step_())) {
            TakeAll_();
        }
    }

private:
    static constexpr unsigned long PATH_MIN = 256;
    static constexpr char const UNKNOWN[] = "<unknown>"; // also at address 0, which nobody looks for

    // False at the end of the stack, and on a failure.
    bool Step_() {
        bool const fromSignal = unw_is_signal_frame(&cursor_) > 0;
        int const moved = unw_step(&cursor_);
        if (moved < 0) owner_.SetError_("unable to get a next stack frame: %s", unw_strerror(moved));
        exact_ = REGISTERS_.interruptedIsSignalFrame ? unw_is_signal_frame(&cursor_) > 0 : fromSignal;
        return moved > 0;
    }

    // The frame is that of a function marked ZEB_UNSEEN.
    bool IsUnseen_() {
        unw_word_t ip = 0;
        if (unw_get_reg(&cursor_, UNW_REG_IP, &ip) != 0) return false;
        auto const* const call = reinterpret_cast<char const*>(ip) - 1;
        return call >= __start_zeb_unseen && call < __stop_zeb_unseen;
    }

    // To the frame of the signal. False if there is none.
    bool SkipSignal_() {
        while (Step_()) {
            if (unw_is_signal_frame(&cursor_) > 0) return true;
        }
        return false;
    }

    // From the frame of the cursor on.
    void TakeAll_() {
        Frame_* last = owner_.Last_();
        unsigned long count = 0;
        do {
            if (count++ == FRAMES_MAX) {
                owner_.flags_ |= TRUNCATED;
                return;
            }
            last = Take_(last);
        } while (last && Step_());
    }

    // Appends the frame of the cursor. Null on a failure.
    Frame_* Take_(Frame_* last) {
        unw_word_t ip = 0;
        int const error = unw_get_reg(&cursor_, UNW_REG_IP, &ip);
        if (error) {
            owner_.SetError_("unable to get a frame IP: %s", unw_strerror(error));
            return nullptr;
        }
        if (regs_ && regs_->Empty()) Regs::Dump_(*regs_, cursor_).Print();
        regs_ = nullptr;
        Find_(ip);
        Frame_* const frame = owner_.Append_(last, ip, name_, offset_);
        if (frame && (owner_.unwind_ & LOCATIONS)) Locate_(*frame);
        return frame;
    }

    // Function and file of a frame. A recursion is looked up once.
    void Find_(unsigned long ip) {
        if (ip == ip_) return;
        ip_ = ip;
        name_ = UNKNOWN;
        offset_ = 0;
        if (!MapIp_()) return;
        // Behind a call that does not return the next function may begin.
        unsigned long const call = exact_ ? ip : ip - 1;
        unsigned long offset = 0;
        char const* const name = symbols_.Find(call, base_, path_, offset);
        if (!name) return NameByFile_();
        name_ = name;
        offset_ = offset + (ip - call);
    }

    // With a copy of the file that has its symbols the offset tells the function.
    void NameByFile_() {
        char const* const slash = strrchr(path_, '/');
        if (!slash) return;
        snprintf(file_, sizeof(file_), "<%s>", slash + 1);
        name_ = file_;
        offset_ = ip_ - base_;
    }

    // The mapping that holds the address. False if there is none, or no memory.
    bool MapIp_() {
        if (symbols_.Holds(ip_)) return true; // the same as of the last frame
        for (unsigned long room = PATH_MIN;; room *= 4) {
            if (room > pathSize_) {
                path_ = static_cast<char*>(owner_.Alloc_(room));
                pathSize_ = path_ ? room : 0;
            }
            unsigned long size = pathSize_;
            base_ = 0;
            if (!path_ || mapper_.Get(reinterpret_cast<void const*>(ip_), base_, path_, &size) != 0)
                return false;
            if (size < pathSize_ || room >= PATH_MIN * 16) return base_ != 0; // else perhaps cut
        }
    }

    // Frames of one file share its text.
    void Locate_(Frame_& frame) {
        if (!path_ || !base_) return;
        if (strcmp(path_, location_) != 0) location_ = owner_.Copy_(path_, strlen(path_));
        if (!location_) location_ = "";
        frame.location = location_;
        frame.locationOffset = frame.ip - base_;
    }

    Backtrace& owner_;
    unw_cursor_t& cursor_;
    Regs* regs_;

    // Of the address that was looked up last.
    unsigned long ip_ = 0;
    bool exact_ = false; // the frame was interrupted by a signal, and so is no return address
    char const* name_ = UNKNOWN;
    unsigned long offset_ = 0;
    unsigned long base_ = 0;
    char* path_ = nullptr;
    unsigned long pathSize_ = 0;
    char file_[64];

    char const* location_ = "";
    Symbols_ symbols_;
    Linux::AddressSpace::Mapper mapper_;
};

void Backtrace::GetUser(unsigned long skip, Regs* regs) {
    if (!StartUser_()) return;
    int error = unw_set_caching_policy(unw_local_addr_space, UNW_CACHE_NONE);
    if (error) return SetError_("unable to setup unwind caching policy: %s", unw_strerror(error));
    unw_context_t context;
    error = unw_getcontext(&context);
    if (error) return SetError_("unable to get a stack unwind context: %s", unw_strerror(error));
    unw_cursor_t cursor;
    error = unw_init_local(&cursor, &context);
    if (error) return SetError_("unable to initialize a stack unwind context: %s", unw_strerror(error));
    Walk_(*this, cursor, regs).Run(skip);
}
