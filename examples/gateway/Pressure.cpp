#include "Pressure.h"

#include "zeb/core/Log.h"
#include "zeb/event/Bus.h"

#include <malloc.h>
#include <new>

namespace {

constexpr unsigned long PERCENTAGE = 10;
constexpr Time::Span INTERVAL(2000); // who is not privileged may ask for whole two seconds only

} // namespace

void Pressure::Start(CString const& name) {
    AutoPtr<Event::BaseDelegate> delegate(onPressure_.Clone());
    Mutex::Guard const guard(mutex_); // no event is handled before the watcher is known
    if (!guard.Held() || !delegate || !Event::Subscribe(onPressure_)) return;
    watcher_.Reset(new (std::nothrow) Linux::MemoryPressureWatcher(name, delegate, PERCENTAGE, INTERVAL));
    if (watcher_ && watcher_->IsActive())
        Log(Log::INFO, IDENT, name.Cstr(), "watching for memory pressure: %1%% of %2 ms")
            << PERCENTAGE << INTERVAL.Milliseconds();
}

void Pressure::Stop() {
    Event::Unsubscribe(onPressure_); // no handler runs from here on
    watcher_.Reset();
}

void Pressure::OnPressure_(Event::MemoryPressure const&) {
    (void)malloc_trim(0); // whether there was anything to give back makes no difference
    watcher_->Proceed();
}
