// A cache that gives its memory back when the machine runs short of it.
#include "zeb/core/StringMap.h"
#include "zeb/event/Bus.h"
#include "zeb/event/LibraryEvents.h"
#include "zeb/runtime/Main.h"
#include "zeb/util/MemoryPressureWatcher.h"

namespace {

class Cache {
public:
    Cache() {
        AutoPtr<Event::BaseDelegate> delegate(onPressure_.Clone());
        Mutex::Guard const guard(mutex_); // no event is handled before the watcher is known
        if (!guard.Held() || !delegate || !Event::Subscribe(onPressure_)) return;
        watcher_.Reset(new (std::nothrow) Linux::MemoryPressureWatcher("cache", delegate, 10, 2000));
    }
    ~Cache() { Event::Unsubscribe(onPressure_); } // no handler runs any more; then the watcher ends

    // False where the kernel does not watch, for which the log has the reason: the cache works without.
    bool IsWatched() const {
        Mutex::Guard const guard(mutex_);
        return watcher_ && watcher_->IsActive();
    }

    bool Put(CString const& key, CString const& value) {
        Mutex::Guard const guard(mutex_);
        return guard.Held() && entries_.Set(key, value);
    }

private:
    // On the thread of the bus, with mutex_ held.
    void OnPressure_(Event::MemoryPressure const&) {
        Log(Log::INFO, "Cache", nullptr, "%1 entries are dropped") << entries_.Size();
        entries_.Clear();
        watcher_->Proceed(); // the next event may come
    }

    mutable Mutex mutex_{Mutex::CACHE};
    Event::Delegate<Cache, Event::MemoryPressure> const onPressure_{"Cache", this, &Cache::OnPressure_,
                                                                    &mutex_};

    // Guarded by mutex_.
    StringMap entries_;
    AutoPtr<Linux::MemoryPressureWatcher> watcher_;
};

class Program : public Main {
public:
    Program()
        : Main("pressure") {}

    int Run() override {
        Cache cache;
        Log(Log::INFO, "Program", nullptr, "the cache is %1")
            << (cache.IsWatched() ? "watched" : "not watched");
        if (!cache.Put("page", "content")) return 1;
        (void)WaitForStop(100); // a daemon waits without a limit
        return 0;
    }
};

} // namespace

int main() {
    Program program;
    if (!program.Initialized()) return 1;
    Log::ConsoleMode();
    return program.Run();
}
