#pragma once

// Gives memory back when processes of the machine wait for it. The watcher says in the log when that is.

#include "zeb/core/AutoPtr.h"
#include "zeb/event/Delegate.h"
#include "zeb/event/LibraryEvents.h"
#include "zeb/runtime/Mutex.h"
#include "zeb/util/MemoryPressureWatcher.h"

class Pressure {
public:
    static constexpr char const IDENT[] = "Pressure";

    Pressure() = default;
    ~Pressure() { Stop(); }

    // The gateway works without, too: where the kernel does not watch, the log has said why.
    void Start(CString const& name);
    void Stop();

private:
    void OnPressure_(Event::MemoryPressure const& event); // with mutex_ held

    Mutex mutex_{Mutex::MONITOR};
    Event::Delegate<Pressure, Event::MemoryPressure> const onPressure_{IDENT, this, &Pressure::OnPressure_,
                                                                       &mutex_};
    AutoPtr<Linux::MemoryPressureWatcher> watcher_; // guarded by mutex_
};
