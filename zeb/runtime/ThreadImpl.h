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

// The lock stack of a thread: changed by that thread alone, under the mutex, which is there for readers in
// other threads. The thread itself reads without it.
class Thread::LockRecord_ {
public:
    static constexpr unsigned long GROWTH = 8;

    struct Entry {
        Mutex const* mutex = nullptr;
        class Lock::State const* state = nullptr;
        Time::Span since;
        struct Lock::Time text;
    };

    explicit LockRecord_(String const& threadName)
        : name(threadName) {}
    ~LockRecord_();
    LockRecord_(LockRecord_ const&) = delete;
    LockRecord_& operator=(LockRecord_ const&) = delete;

    // An entry could not be stored: there is nothing to compare with until the depth has fallen again.
    bool IsIncomplete() const { return depth > entries.Size(); }

    // By one group; the first one comes with the thread, so that a report needs no memory.
    bool Grow();
    bool MakeRoom();
    void CheckOrder(Mutex const& taken) const;
    Entry* ExpectTop(Mutex const& expected, char const* operation);
    void Change(Entry& entry, class Lock::State const& state, Time::Span const& when);

    // For readers, with the mutex held.
    unsigned long Stored() const;
    bool ShowsAcquired(Mutex const& wanted) const;
    State* Snapshot() const;

    String const& name;
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    Array<Entry> entries;    // never shrinks
    unsigned long depth = 0; // may exceed the size of the array
    int tid = TID_UNKNOWN;
    struct Lock::Time wallClock; // in the monotonic second `second`
    long second = -1;
};

class Thread::Registry_ {
public:
    // In the order of construction.
    static PVector<Thread> threads;

    // Guards the list; an object in it lives while this is held.
    static pthread_mutex_t lock;

    static Thread* FindMain();
};
