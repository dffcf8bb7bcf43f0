// The backtrace behind a statement of the log.

#include "zeb/core/ErrorString.h"
#include "zeb/core/Integer.h"
#include "zeb/core/LogImpl.h"
#include "zeb/core/UnseenImpl.h"
#include "zeb/runtime/Backtrace.h"
#include "zeb/runtime/Thread.h"

#include <cerrno>

namespace {

// A count that leaves no room for the frames of the log wants no backtrace.
constexpr unsigned long SKIP_MAX = ~0UL - 3;

// Of a frame, so that its offset has room behind it.
constexpr unsigned long NAME_MAX_SIZE = 960;

} // namespace

// The stack is taken ahead of the lock of the log, as the walk over another thread takes the locks of
// threads.
ZEB_UNSEEN void Log::Impl_::PrintWithBacktrace_(char* message) {
    int const self = Thread::Id();
    int const tid = backtraceTid_ == Backtrace::TID_SELF ? self : backtraceTid_;
    bool const wanted = tid != self || backtraceSkip_ <= SKIP_MAX;
    bool const handler = Turn_::InHandler();
    ::Backtrace backtrace(::Backtrace::NAMES);
    int error = 0;
    if (wanted) {
        error =
            handler && tid != self ? EDEADLK : Thread::GetBacktrace(tid, backtrace, nullptr, backtraceSkip_);
        if (backtraceContext_ == Backtrace::DEMANGLE && !handler) backtrace.Demangle();
    }
    Turn_ const turn;
    if (!turn.IsMine()) return;
    PrintLine_(level_, message);
    if (wanted) PrintBacktrace_(tid, error, backtrace);
}

void Log::Impl_::PrintBacktrace_(int tid, int error, ::Backtrace const& backtrace) {
    Integer const id(tid);
    if (error) {
        return PrintTexts_(ERROR, "unable to get a backtrace (", id.Cstr(), "): ", ErrorString(error), ".");
    }
    if (*backtrace.Error()) PrintTexts_(ERROR, backtrace.Error());
    PrintTexts_(level_, "\"", backtrace.ThreadName(), "\" (", id.Cstr(), ") backtrace:");
    if (backtrace.Empty() && !backtrace.Truncated()) PrintTexts_(level_, "  no backtrace available.");
    for (::Backtrace::Frame const frame : backtrace)
        PrintFrame_(frame.Name(), frame.NameOffset());
    if (backtrace.Truncated()) PrintTexts_(level_, "  ", ::Backtrace::CUT);
}

void Log::Impl_::PrintFrame_(char const* name, unsigned long offset) {
    char cut[NAME_MAX_SIZE + 1];
    unsigned long const size = strnlen(name, NAME_MAX_SIZE);
    memcpy(cut, name, size);
    cut[size] = '\0';
    PrintTexts_(level_, "  ", cut, "+0x", Integer(offset, Integer::PRINT_HEX).Cstr());
}

// One line. The place of the arguments is free, as they stand in the message.
template<class... TextsT>
void Log::Impl_::PrintTexts_(LevelT level, TextsT const*... texts) {
    arguments_.Clear();
    arguments_.SetFlag(StringBuffer_::STORE_TRUNCATED);
    (arguments_.AppendMeasured(texts, strlen(texts), StringBuffer_::MERGE), ...);
    PrintLine_(level, arguments_.Data());
}
