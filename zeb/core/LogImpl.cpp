#include "zeb/core/LogImpl.h"

#include "zeb/core/CString.h"
#include "zeb/core/Digits.h"

#include <atomic>
#include <cstring>
#include <new>

namespace {

constexpr char const FULL_STOPS[] = ".,?!*;:";
constexpr char const CUT_ARGUMENT[] = "???";

std::atomic<uint64_t> defaultFlags_ = 0;

// A statement, the called function that reports, the monitor of a lock that reports about it, and a signal
// handler that interrupts that.
constexpr unsigned PLACES = 4;

// The places of one thread. They own nothing, because their buffers never grow, and die with its memory.
struct Storage_ {
    Log::Impl_* At(unsigned index) { return reinterpret_cast<Log::Impl_*>(bytes[index]); }

    alignas(Log::Impl_) unsigned char bytes[PLACES][sizeof(Log::Impl_)];
    bool built[PLACES];
};

[[gnu::tls_model("initial-exec")]] constinit thread_local Storage_ storage_ = {};

} // namespace

// A handler that comes between two of these steps has given its place back when they go on.
Log::Impl_* Log::Impl_::Enter() {
    for (unsigned i = 0; i != PLACES; ++i) {
        Impl_* const place = storage_.At(i);
        if (!storage_.built[i]) new (place) Impl_;
        storage_.built[i] = true;
        if (place->taken_.load(std::memory_order_acquire)) continue;
        place->taken_.store(true, std::memory_order_release);
        return place;
    }
    return nullptr;
}

void Log::Impl_::Leave() { taken_.store(false, std::memory_order_release); }

void Log::Impl_::SetConsole() { defaultFlags_.fetch_or(CONSOLE, std::memory_order_relaxed); }

bool Log::Impl_::IsConsole() { return (defaultFlags_.load(std::memory_order_relaxed) & CONSOLE) != 0; }

void Log::Impl_::Reset(LevelT level, char const* ident, char const* name, char const* format) {
    level_ = level;
    ident_ = ident ? ident : "";
    name_ = name;
    format_ = L10n(format ? format : "");
    flags_ = defaultFlags_.load(std::memory_order_relaxed);
    code_ = DEFAULT_CODE;
    argumentCount_ = 0;
    expectedCount_ = 0;
    markCount_ = 0;
    backtraceSkip_ = 0;
    backtraceTid_ = Backtrace::TID_SELF;
    backtraceContext_ = Backtrace::DEMANGLE;
    message_.Clear();
    arguments_.Clear();
    message_.SetFlag(StringBuffer_::STORE_TRUNCATED);
    if (!ScanFormat_()) {
        flags_ |= BAD_FORMAT;
        BecomeFault_("invalid message format: ");
    } else if (name_ && *name_) {
        Merge_("\"", 1);
        Merge_(name_);
        Merge_("\": ", 3);
    }
}

// Finds the percent signs and counts the arguments. False if the template is no template.
bool Log::Impl_::ScanFormat_() {
    unsigned seen = 0;
    char const* mark = format_;
    for (;;) {
        mark = strchrnul(mark, '%');
        if (markCount_ < MAX_MARKS) marks_[markCount_++] = static_cast<unsigned>(mark - format_);
        if (!*mark) break;
        char const next = mark[1];
        if (next != '%') {
            if (next < '1' || next > '9') return false;
            unsigned const bit = 1U << (next - '0');
            if (seen & bit) return false;
            seen |= bit;
            unsigned long const number = static_cast<unsigned long>(next - '0');
            if (number > expectedCount_) expectedCount_ = number;
        }
        mark += 2;
    }
    return seen == (2U << expectedCount_) - 2;
}

// Merge_ in place of an own text: the class identifier and the name are no longer of use.
void Log::Impl_::BecomeFault_(char const* words) {
    message_.Clear();
    arguments_.Clear();
    message_.SetFlag(StringBuffer_::STORE_TRUNCATED);
    level_ = CRITICAL;
    ident_ = IDENT;
    name_ = nullptr;
    flags_ |= FAULT;
    Merge_(L10n(words));
    Merge_(format_);
}

void Log::Impl_::AppendArgument(char const* text, unsigned long size) {
    AppendMeasured(text, strnlen(text, size));
}

void Log::Impl_::AppendMeasured(char const* text, unsigned long size) {
    bool const glued = (flags_ & NEXT_GLUED) != 0;
    arguments_.AppendMeasured(text, size, glued ? StringBuffer_::MERGE : StringBuffer_::NEW, CUT_ARGUMENT);
    if (!glued) ++argumentCount_;
    flags_ &= ~(NEXT_GLUED | NEXT_HEX);
}

void Log::Impl_::Control(ControlT control) {
    switch (control) {
    case HEX:
        flags_ |= NEXT_HEX;
        break;
    case QUIET:
        flags_ |= SILENT;
        break;
    case LOUD:
        break;
    case GLUE:
        flags_ |= NEXT_GLUED;
        break;
    case NO_DOT:
        flags_ |= WITHOUT_DOT;
        break;
    }
}

void Log::Impl_::Request(Backtrace const& request) {
    flags_ |= WITH_BACKTRACE;
    backtraceSkip_ = request.Skip();
    backtraceTid_ = request.Tid();
    backtraceContext_ = request.Context();
}

void Log::Impl_::SetCode(uint64_t kind, ReturnT const& code) {
    flags_ |= kind;
    code_ = code;
}

ReturnT Log::Impl_::Code() const { return flags_ & OUT_OF_MEMORY ? OUT_OF_MEMORY_CODE : code_; }

char* Log::Impl_::MakeMessage() {
    if (!(flags_ & BUILT)) {
        flags_ |= BUILT;
        BuildMessage_();
    }
    bool const none = !(flags_ & FAULT) && !HasCode_() && !*format_;
    return none ? nullptr : message_.Data();
}

void Log::Impl_::BuildMessage_() {
    if (!(flags_ & BAD_FORMAT)) {
        if (argumentCount_ != expectedCount_) {
            BecomeFault_(argumentCount_ < expectedCount_ ? "too few log arguments in a stream: "
                                                         : "too many log arguments in a stream: ");
        } else {
            if (HasCode_()) AppendCode_();
            Expand_();
        }
    }
    EndMessage_();
}

void Log::Impl_::AppendCode_() {
    level_ = flags_ & DONE ? INFO : CRITICAL;
    Merge_(L10n(flags_ & DONE ? "returned code" : flags_ & FAIL ? "system failed" : "out of memory"));

    constexpr unsigned DIGITS = 8;
    char text[] = " [0x00000000]";
    char digits[Digits::MAX_SIZE];
    unsigned long const size = static_cast<unsigned long>(Digits::PrintHex(digits, code_.Code()) - digits);
    memcpy(text + sizeof(" [0x") - 1 + DIGITS - size, digits, size);
    Merge_(text, sizeof(text) - 1);
    if (*format_) Merge_(", ", 2);
}

void Log::Impl_::Expand_() {
    char const* arguments[MAX_ARGUMENTS];
    unsigned long sizes[MAX_ARGUMENTS];
    char const* next = arguments_.Data();
    for (unsigned long i = 0; i < expectedCount_; ++i) {
        bool const stored = i < arguments_.Count();
        arguments[i] = stored ? next : CUT_ARGUMENT;
        sizes[i] = strlen(arguments[i]);
        if (stored) next += sizes[i] + 1;
    }
    char const* from = format_;
    for (unsigned i = 0; !message_.IsTruncated(); ++i) {
        char const* const mark = i < markCount_ ? format_ + marks_[i] : strchrnul(from, '%');
        Merge_(from, static_cast<unsigned long>(mark - from));
        if (!*mark) return;
        if (mark[1] == '%') {
            Merge_("%", 1);
        } else {
            Merge_(arguments[mark[1] - '1'], sizes[mark[1] - '1']);
        }
        from = mark + 2;
    }
}

void Log::Impl_::EndMessage_() {
    unsigned long const size = message_.Size();
    if (!(flags_ & WITHOUT_DOT) && size > 1 && !strchr(FULL_STOPS, message_.Data()[size - 2])) Merge_(".", 1);
    if (!message_.IsTruncated()) return;
    CString const& cut = Cut();
    memcpy(message_.Data() + message_.Size() - cut.Size() - 1, cut.Cstr(), cut.Size() + 1);
}
