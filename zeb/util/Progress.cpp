#include "zeb/util/Progress.h"

#include "zeb/core/Time.h"
#include "zeb/event/Bus.h"

namespace Util {

namespace {

constexpr unsigned long ALL = 100;

using WideT_ = unsigned __int128; // of products of two numbers

unsigned long Milliseconds_(Time::Span const& span) {
    long const milliseconds = span.Milliseconds();
    return milliseconds > 0 ? static_cast<unsigned long>(milliseconds) : 0;
}

unsigned long Step_(unsigned long step) {
    if (step == 0) return 1;
    return step < ALL ? step : ALL;
}

} // namespace

Progress::Progress(CString const& name, unsigned long stageCount, unsigned long step)
    : step_(Step_(step))
    , first_(name, 0)
    , last_(name, ALL)
    , initialized_(name_.Assign(name) && MakeStages_(stageCount) && first_.Initialized() &&
                   last_.Initialized()) {}

bool Progress::MakeStages_(unsigned long count) {
    for (; count != 0; --count) {
        if (!stages_.PushBack(Stage_())) return false;
    }
    return true;
}

void Progress::WorkStarted() {
    started_ = Time::Monotonic();
    Raise_(first_);
    stageStart_ = Time::Monotonic();
}

void Progress::WorkStopped(unsigned long stage, unsigned long done) {
    if (stageStart_.IsZero() || stage >= stages_.Size()) return;
    stages_[stage].done += done;
    stages_[stage].spent += Time::Monotonic() - stageStart_;
    stageStart_ = Time::Span::Zero();
    Recalculate_();
}

void Progress::IncEstimated(unsigned long stage, unsigned long amount) {
    if (stage >= stages_.Size()) return;
    stages_[stage].estimated += amount;
    Recalculate_();
}

void Progress::Finished() { Raise_(last_); }

// The length of the whole work in milliseconds, 0 if that is not known yet.
unsigned long Progress::Expected_() const {
    WideT_ sum = 0;
    for (Stage_ const& stage : stages_) {
        if (stage.done != 0) sum += WideT_{Milliseconds_(stage.spent)} * stage.estimated / stage.done;
    }
    return sum < ~0UL ? static_cast<unsigned long>(sum) : ~0UL;
}

void Progress::Recalculate_() {
    unsigned long const expected = Expected_();
    if (expected == 0) return;
    WideT_ const elapsed = Milliseconds_(Time::Monotonic() - started_);
    WideT_ const value = elapsed * ALL / expected / step_ * step_;
    if (value >= ALL || value <= percent_) return;
    percent_ = static_cast<unsigned long>(value);
    Raise_(Event::Progress(name_, percent_));
}

// A report that is lost is logged by the bus, and the work goes on without it.
void Progress::Raise_(Event::Progress const& event) const {
    if (initialized_) (void)Event::Raise(event, nullptr, Event::ASYNC, Event::DIRECT);
}

} // namespace Util
