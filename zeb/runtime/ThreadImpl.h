#pragma once

// What the sources of Thread and Mutex share. Not installed.
//
// Plain system mutexes, outside the lock order, are taken in this order: the registry's, the control record's
// of one thread, the lock record's of one thread, the log's.

#include "zeb/core/Array.h"
#include "zeb/core/PVector.h"
#include "zeb/core/String.h"
#include "zeb/core/StringMap.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/runtime/Thread.h"

#include <atomic>
#include <cstdint>
#include <pthread.h>

// The calling thread's object. The model spares the hot paths of the locks a call.
[[gnu::tls_model("initial-exec")]] extern constinit thread_local Thread* tlsThread_;

// Holds a plain system mutex for a block of code.
class PlainGuard_ {
public:
    explicit PlainGuard_(pthread_mutex_t& mutex)
        : mutex_(mutex) {
        pthread_mutex_lock(&mutex_);
    }
    ~PlainGuard_() { pthread_mutex_unlock(&mutex_); }
    PlainGuard_(PlainGuard_ const&) = delete;
    PlainGuard_& operator=(PlainGuard_ const&) = delete;

private:
    pthread_mutex_t& mutex_;
};

class Thread::Control_ {
public:
    static constexpr unsigned NOT_RUNNING = 0x01;
    static constexpr unsigned STARTING = 0x02; // Start() is in progress
    static constexpr unsigned STARTED = 0x04;  // Initialize() succeeded
    static constexpr unsigned FAILED = 0x08;   // Initialize() or the set-up failed
    static constexpr unsigned STOPPING = 0x10; // Stop() is in progress
    static constexpr unsigned FINISHED = 0x20; // the routine has ended
    static constexpr unsigned STOP_REQUESTED = 0x40;
    static constexpr unsigned INTERRUPTED = 0x80;

    Control_() = default;
    ~Control_();
    Control_(Control_ const&) = delete;
    Control_& operator=(Control_ const&) = delete;

    bool Has(unsigned mask) const { return (flags.load(std::memory_order_acquire) & mask) != 0; }

    // With the mutex held. Whoever waits is woken.
    void Set(unsigned mask);
    void Clear(unsigned mask);
    void Reset(unsigned value);
    void AwaitAny(unsigned mask);
    void AwaitNone(unsigned mask);

    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;

    // Fixed after construction.
    String name;

    // Changed under the mutex.
    pthread_t thread = {};
    std::atomic<unsigned> flags = NOT_RUNNING;
    StringMap environment;

    // Changed by the thread itself.
    std::atomic<int> maskCount = 0;
};

// What was stored ahead of the first is seen by whoever sees what is stored behind it; what is loaded behind
// the second is no older than what was loaded ahead of it.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored                                                                               \
    "-Wtsan" // the words that they order are atomic, and that is what the sanitizer sees
#endif
inline void StoreFence_() { std::atomic_thread_fence(std::memory_order_release); }
inline void LoadFence_() { std::atomic_thread_fence(std::memory_order_acquire); }
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

// A word that one thread changes while others may read it.
template<class T>
class SharedWord_ {
public:
    SharedWord_() = default;
    explicit SharedWord_(T value)
        : value_(value) {}
    SharedWord_(SharedWord_ const& other)
        : value_(other) {}
    SharedWord_& operator=(SharedWord_ const& other) { return *this = static_cast<T>(other); }

    SharedWord_& operator=(T value) {
        value_.store(value, std::memory_order_relaxed);
        return *this;
    }
    operator T() const { return value_.load(std::memory_order_relaxed); }

private:
    std::atomic<T> value_ = {};
};

// The lock stack of a thread. That thread alone changes it, without a mutex, as each lock of the program
// passes here twice: a counter, odd during a change, tells a reader that what it has copied is no moment's
// stack. Readers hold the mutex, and so does the thread to move the array. A reader that does not succeed at
// once asks the thread to stand aside, which then waits for that mutex ahead of its next change.
class Thread::LockRecord_ {
public:
    static constexpr unsigned long GROWTH = 8;

    // The text of a moment, as words.
    class Text {
    public:
        Text() = default;
        explicit Text(struct Lock::Time const& time);

        struct Lock::Time Get() const;

    private:
        SharedWord_<uint64_t> words_[sizeof(Lock::Time) / sizeof(uint64_t)];
    };

    struct Entry {
        Lock Get() const;

        SharedWord_<Mutex const*> mutex;
        SharedWord_<Mutex::PrecedenceT> precedence;
        SharedWord_<class Lock::State const*> state{&Lock::RELEASED};
        SharedWord_<long> seconds; // since, on the monotonic clock
        SharedWord_<long> microseconds;
        Text text;
    };

    explicit LockRecord_(String const& threadName)
        : name(threadName) {}
    ~LockRecord_();
    LockRecord_(LockRecord_ const&) = delete;
    LockRecord_& operator=(LockRecord_ const&) = delete;

    // For the thread itself.

    // An entry could not be stored: there is nothing to compare with until the depth has fallen again.
    bool IsIncomplete() const { return depth > entries.Size(); }

    // By one group; the first one comes with the thread, so that a report needs no memory.
    bool Grow();

    // Room for one more entry. If there is no memory, the list is incomplete from here on.
    [[gnu::always_inline]] bool MakeRoom() { return depth < entries.Size() || MakeRoomSlowly_(); }

    void CheckOrder(Mutex const& taken) const;
    Entry* ExpectTop(Mutex const& expected, char const* operation);
    void Push(Mutex const& taken);                         // RELEASED
    void Push(Mutex const& taken, Time::Span const& when); // ACQUIRED
    void Change(Entry& entry, class Lock::State const& state, Time::Span const& when);
    void SetDepth(unsigned long value);

    // For readers, with the mutex held.

    bool ShowsAcquired(Mutex const& wanted) const;
    State* Snapshot() const;

    String const& name;
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    Array<Entry> entries;             // never shrinks
    SharedWord_<unsigned long> depth; // may exceed the size of the array
    int tid = TID_UNKNOWN;            // guarded by the mutex

private:
    // Makes the counter odd for a block of code.
    class Writing_ {
    public:
        explicit Writing_(LockRecord_& record)
            : sequence_(record.sequence_) {
            if (record.aside_.load(std::memory_order_relaxed)) [[unlikely]]
                record.StandAside_();
            Advance_(std::memory_order_relaxed);
            StoreFence_(); // who sees what is stored behind this sees the odd counter
        }
        ~Writing_() { Advance_(std::memory_order_release); }
        Writing_(Writing_ const&) = delete;
        Writing_& operator=(Writing_ const&) = delete;

    private:
        void Advance_(std::memory_order order) {
            sequence_.store(sequence_.load(std::memory_order_relaxed) + 1, order);
        }

        std::atomic<unsigned long>& sequence_;
    };

    template<class BodyT>
    void Read_(BodyT const& body) const;
    unsigned long Stored_() const;
    bool MakeRoomSlowly_();
    void LogOrder_(Mutex const& taken) const;
    void StandAside_();
    void RefreshWallClock_(Time::Span const& when);
    void Store_(Entry& entry, class Lock::State const& state, Time::Span const& when);

    std::atomic<unsigned long> sequence_ = 0;
    mutable std::atomic<bool> aside_ = false; // set by a reader, with the mutex held

    // Of the thread itself.
    Text wallClock_; // in the monotonic second `second_`
    long second_ = -1;
};

[[gnu::always_inline]] inline void Thread::LockRecord_::CheckOrder(Mutex const& taken) const {
    if (depth != 0 && entries[depth - 1].precedence >= taken.Precedence()) LogOrder_(taken);
}

inline void Thread::LockRecord_::Store_(Entry& entry, class Lock::State const& state,
                                        Time::Span const& when) {
    entry.state = &state;
    entry.seconds = when.Parts().Seconds();
    entry.microseconds = when.Parts().Microseconds();
    entry.text = wallClock_;
}

inline void Thread::LockRecord_::Push(Mutex const& taken) {
    Writing_ const writing(*this);
    Entry& entry = entries[depth];
    entry.mutex = &taken;
    entry.precedence = taken.Precedence();
    entry.state = &Lock::RELEASED; // the time comes with the acquisition
    depth = depth + 1;
}

inline void Thread::LockRecord_::Push(Mutex const& taken, Time::Span const& when) {
    if (when.Parts().Seconds() != second_) RefreshWallClock_(when);
    Writing_ const writing(*this);
    Entry& entry = entries[depth];
    entry.mutex = &taken;
    entry.precedence = taken.Precedence();
    Store_(entry, Lock::ACQUIRED, when);
    depth = depth + 1;
}

inline void Thread::LockRecord_::SetDepth(unsigned long value) {
    Writing_ const writing(*this);
    depth = value;
}

[[gnu::always_inline]] inline void Thread::LockPush_(Mutex const& mutex, LockPushT_ type,
                                                     Time::Span const& now) {
    LockRecord_& record = *lockRecord_;
    if (!record.MakeRoom()) return record.SetDepth(record.depth + 1);
    record.CheckOrder(mutex);
    type == PUSH_ACQUIRED ? record.Push(mutex, now) : record.Push(mutex);
}

[[gnu::always_inline]] inline void Thread::LockPop_(Mutex const& mutex, LockPopT_ type) {
    LockRecord_& record = *lockRecord_;
    unsigned long const depth = record.depth;
    if (depth - 1 < record.entries.Size()) { // neither empty nor incomplete
        LockRecord_::Entry const& top = record.entries[depth - 1];
        class Lock::State const& expected = type == POP_RELEASED ? Lock::RELEASED : Lock::ACQUIRED;
        if (top.mutex == &mutex && top.state == &expected) return record.SetDepth(depth - 1);
    }
    LockPopSlowly_(mutex, type);
}

[[gnu::always_inline]] inline bool Thread::LockIsAcquired_(Mutex const& mutex, Log::VerboseT verbose) const {
    LockRecord_ const& record = *lockRecord_;
    if (record.IsIncomplete()) return true;
    for (unsigned long i = record.depth; i != 0; --i) {
        LockRecord_::Entry const& entry = record.entries[i - 1];
        if (entry.mutex == &mutex) return entry.state == &Lock::ACQUIRED;
    }
    if (verbose != Log::VERBOSE_OFF) LogNotFound_(mutex);
    return false;
}

class Thread::Registry_ {
public:
    // In the order of construction.
    static PVector<Thread> threads;

    // Guards the list; an object in it lives while this is held.
    static pthread_mutex_t lock;

    static Thread* FindMain();
};
