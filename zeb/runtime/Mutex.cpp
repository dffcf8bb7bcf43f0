#include "zeb/runtime/Mutex.h"

#include "zeb/core/ErrorString.h"
#include "zeb/core/Integer.h"
#include "zeb/core/Log.h"
#include "zeb/core/Time.h"
#include "zeb/core/UnseenImpl.h"
#include "zeb/runtime/StatusLog.h"
#include "zeb/runtime/ThreadImpl.h"

#include <atomic>
#include <cerrno>

namespace {

constexpr uint32_t COUNT = 159;

struct Row_ {
    uint32_t number;
    char const* name;
};

#define ZEB_PRECEDENCE_ROW(number, name) {number, #name},
constexpr Row_ ROWS[] = {ZEB_MUTEX_PRECEDENCES(ZEB_PRECEDENCE_ROW)};
#undef ZEB_PRECEDENCE_ROW

constexpr bool IsInOrder_() {
    for (uint32_t i = 0; i < COUNT; ++i) {
        if (ROWS[i].number != i) return false;
    }
    return true;
}

static_assert(sizeof(ROWS) / sizeof(ROWS[0]) == COUNT && IsInOrder_(), "each number once, in rising order");
static_assert(Mutex::STATUS_LOG == COUNT - 1);

constexpr long THRESHOLD_MIN = 100;
constexpr long THRESHOLD_MAX = 100000000;

constexpr ReturnT THRESHOLD_SET{0x000903E8};
constexpr ReturnT THRESHOLD_RESET{0x0009044C};
constexpr ReturnT THRESHOLD_OUT_OF_RANGE{0x800903E8};

constinit std::atomic<long> threshold_ = Mutex::THRESHOLD_OFF;

// The error for which a lock is not even tried, or 0.
inline int Refusal_(Mutex const& mutex, bool initialized, Thread const* self) {
    if (!initialized) return EINVAL;
    return self && self->LockIsAcquired_(mutex, Log::VERBOSE_OFF) ? EDEADLK : 0;
}

} // namespace

ZEB_UNSEEN void Mutex::Initialize_() {
    int const error = pthread_mutex_init(&mutex_, nullptr);
    if (!error) return;
    initialized_ = false;
    Report_(IDENT, ReturnT::Fail(), error);
}

Mutex::~Mutex() {
    if (initialized_) pthread_mutex_destroy(&mutex_);
}

ZEB_UNSEEN bool Mutex::Lock() const {
    int error = Try_();
    if (error == EBUSY) error = Block_();
    if (!error) return true;
    Report_(IDENT, ReturnT::Fail(), error);
    return false;
}

ZEB_UNSEEN bool Mutex::TryLock() const {
    int const error = Try_();
    if (error && error != EBUSY) Report_(IDENT, ReturnT::Fail(), error);
    return !error;
}

// A free lock is noted once it is taken.
ZEB_UNSEEN int Mutex::Try_() const {
    Thread* const self = tlsThread_;
    int error = Refusal_(*this, initialized_, self);
    if (!error) error = pthread_mutex_trylock(&mutex_);
    if (self && !error) {
        acquiredAt_ = Time::Monotonic();
        self->LockPush_(*this, Thread::PUSH_ACQUIRED, acquiredAt_);
    }
    return error;
}

// A busy one ahead of the wait, so that others can see what the thread waits for.
ZEB_UNSEEN int Mutex::Block_() const {
    Thread* const self = tlsThread_;
    if (self) self->LockPush_(*this, Thread::PUSH_RELEASED, Time::Span::Zero());
    int const error = pthread_mutex_lock(&mutex_);
    if (!self) return error;
    if (error) {
        self->LockPop_(*this, Thread::POP_RELEASED);
    } else {
        acquiredAt_ = Time::Monotonic();
        self->LockAcquired_(*this, acquiredAt_);
    }
    return error;
}

ZEB_UNSEEN unsigned long Mutex::Unlock() const {
    Thread* const self = tlsThread_;
    unsigned long const held = threshold_.load(std::memory_order_relaxed) ? HeldTooLong_() : 0;
    int const error = initialized_ ? pthread_mutex_unlock(&mutex_) : EINVAL;
    if (error) {
        Report_(IDENT, ReturnT::Fail(), error);
        return 0;
    }
    if (self) self->LockPop_(*this, Thread::POP_ACQUIRED);
    if (held) WarnHeldTooLong_(IDENT, held);
    return held;
}

ZEB_UNSEEN void Mutex::Report_(char const* ident, ReturnT const& code, int error) const {
    Log(Log::CRITICAL, ident, PrecedenceName(precedence_), "%1").Fail(code)
        << ErrorString(error) << Log::Backtrace(0);
}

unsigned long Mutex::HeldTooLong_() const {
    unsigned long const threshold = Threshold();
    if (threshold == THRESHOLD_OFF || !tlsThread_) return 0;
    long const held = (Time::Monotonic() - acquiredAt_).Milliseconds();
    return held >= static_cast<long>(threshold) ? static_cast<unsigned long>(held) : 0;
}

ZEB_UNSEEN void Mutex::WarnHeldTooLong_(char const* ident, unsigned long milliseconds) const {
    Log(Log::WARNING, ident, nullptr, "\"%1\" acquired \"%2\" lock for %3 ms.")
        << tlsThread_->Name() << PrecedenceName(precedence_) << milliseconds << Log::Backtrace(0);
}

char const* Mutex::PrecedenceName(PrecedenceT precedence) {
    return precedence < COUNT ? ROWS[precedence].name : "(UNKNOWN)";
}

unsigned long Mutex::Threshold() {
    long const threshold = threshold_.load(std::memory_order_relaxed);
    return threshold < 0 ? THRESHOLD_OFF : static_cast<unsigned long>(threshold);
}

ReturnT Mutex::SetThreshold(CString const& value) {
    long threshold;
    if (!Integer::Parse(value, threshold) || threshold < THRESHOLD_MIN || threshold > THRESHOLD_MAX) {
        return StatusLog(THRESHOLD_OUT_OF_RANGE, Log::ERROR, IDENT, nullptr,
                         "threshold out of range [%1..%2] ms.")
               << THRESHOLD_MIN << THRESHOLD_MAX;
    }
    threshold_.store(threshold, std::memory_order_relaxed);
    return StatusLog(THRESHOLD_SET, Log::INFO, IDENT, nullptr, "set threshold to %1 ms.") << threshold;
}

ReturnT Mutex::RstThreshold() {
    threshold_.store(THRESHOLD_OFF, std::memory_order_relaxed);
    return StatusLog(THRESHOLD_RESET, Log::INFO, IDENT, nullptr, "reset threshold");
}
