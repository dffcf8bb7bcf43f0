#pragma once

// Linux::MemoryPressureWatcher: tells by an Event::MemoryPressure that processes of the machine wait for
// memory for more than a share of the time, so that a program can give back what it can do without. One
// episode is one event: behind it the watcher looks away until the reaction is over and Proceed() is called.
//
//   class Cache {
//   public:
//       Cache() {
//           Mutex::Guard const guard(mutex_);                  // no handler runs before all is there
//           AutoPtr<Event::BaseDelegate> delegate(onPressure_.Clone());
//           if (delegate && Event::Subscribe(onPressure_))
//               watcher_.Reset(new (std::nothrow) Linux::MemoryPressureWatcher("cache", delegate, 10, 2000));
//       }
//       ~Cache() { Event::Unsubscribe(onPressure_); }          // none runs any more
//   private:
//       void OnPressure_(Event::MemoryPressure const&) { Drop_(), watcher_->Proceed(); }
//       Mutex mutex_{Mutex::CACHE};
//       Event::Delegate<Cache, Event::MemoryPressure> const onPressure_{"Cache", this, &Cache::OnPressure_,
//                                                                       &mutex_};
//       AutoPtr<Linux::MemoryPressureWatcher> watcher_;
//   };
//
// The kernel measures, in /proc/pressure/memory, as "some": the time in which one process or more waits. The
// event is aimed at the delegate, which its owner subscribes; one that nobody takes holds the watcher all the
// same. Without a delegate (null) every subscriber of the class gets it.
//
// Owns      the delegate, a copy of the name, and while it is active a thread and the open file, for which
//           the kernel measures
// Threads   one at a time uses an object: where a handler calls Proceed(), the owner holds the lock of the
//           delegate around all operations, the constructor too. The event is raised, asynchronously, on the
//           thread "Memory pressure watcher"
// Waits     Activate() for the start of the thread; Shutdown() and the destructor for its end, a third of a
//           second at most, whatever it is about. Nothing ends these waits
// Locks     any that stands below PRE_ULTIMATE may be held, that of the delegate too
// Callback  a handler may use the watcher, and destroy it
// Failure   told by the log, the status of the thread and Initialized(). The kernel refuses an interval of no
//           whole two seconds to those without the right CAP_SYS_RESOURCE, and has no such file where it was
//           built or started without pressure accounting
// Memory    taken by the constructor, which then forgets the name, and by Activate(); both fail without. That
//           of an event is taken ahead of the wait, so that it is there under pressure: where it lacks the
//           log says so, and it is tried again each 3.3 seconds

#include "zeb/core/AutoPtr.h"
#include "zeb/core/String.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/event/BaseDelegate.h"

namespace Linux {

class ZEB_PUBLIC MemoryPressureWatcher {
public:
    static constexpr char const IDENT[] = "Linux::MemoryPressureWatcher";

    // Takes the delegate over, which may be null, and starts. An event comes when processes have waited for
    // `percentage` percent of an `interval`, which is from 500 ms to 10 s; the product is from 50 ms to 1 s,
    // in whole milliseconds. The name stands in the lines of the log.
    MemoryPressureWatcher(CString const& name, AutoPtr<Event::BaseDelegate, StdDeleter>& delegate,
                          unsigned long percentage, Time::Span const& interval);
    ~MemoryPressureWatcher();
    MemoryPressureWatcher(MemoryPressureWatcher const&) = delete;
    MemoryPressureWatcher& operator=(MemoryPressureWatcher const&) = delete;

    // The last start went well.
    bool Initialized() const { return initialized_; }

    // The thread is there, and watches. It ends by itself when the kernel has taken the file away.
    bool IsActive() const;

    // Starts it if it is not there, with what the constructor was given; whether it is there now.
    [[nodiscard]] bool Activate();
    void Shutdown();

    // The reaction to an event is over. What went on meanwhile raises nothing. A call that no event is behind
    // is kept, and ends the wait behind the next one.
    void Proceed();

private:
    class Impl_;

    Impl_* impl_ = nullptr;
    String name_;
    AutoPtr<Event::BaseDelegate, StdDeleter> delegate_;
    unsigned long percentage_;
    Time::Span interval_;
    bool initialized_ = false;
};

} // namespace Linux
