#include "zeb/util/Progress.h"
#include "workbench/Clock.h"
#include "workbench/Heap.h"
#include "workbench/LogCapture.h"
#include "zeb/event/Bus.h"
#include "zeb/event/Delegate.h"
#include "zeb/runtime/ThreadMain.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using Util::Progress;
using ValuesT = std::vector<unsigned long>;

// Collects what is raised, as long as it lives.
class Watch {
public:
    Watch() { EXPECT_TRUE(Event::Subscribe("Event::Type::Progress", delegate_)); }
    ~Watch() { Event::Unsubscribe("", this, "Watch"); }

    // The values since the last call.
    ValuesT Take() {
        EXPECT_TRUE(Event::Raise(Event::Progress("end", 0), nullptr, Event::SYNC, Event::DIRECT));
        return std::exchange(values_, {});
    }

private:
    void OnProgress_(Event::Progress const& event) {
        if (event.Name() != "end") values_.push_back(event.Value());
        EXPECT_TRUE(event.Name() == "end" || (event.Name() == "work" && event.Reboot() == REBOOT_NO));
    }

    AutoPtr<ThreadMain> const main_{ThreadMain::New("test")};
    ValuesT values_;
    Event::Delegate<Watch> const delegate_{"Watch", this, &Watch::OnProgress_, nullptr};
};

// Works on a stage for that long.
void Work(Progress& progress, Clock& clock, unsigned long stage, long milliseconds, unsigned long done) {
    progress.WorkStarted();
    clock.Advance(milliseconds);
    progress.WorkStopped(stage, done);
}

TEST(Progress, EstimatesFromThePaceOfItsStages) {
    Watch watch;
    Clock clock;
    Progress progress("work", 2, 5);
    ASSERT_TRUE(progress.Initialized());
    progress.WorkStopped(0, 1); // nothing was started
    progress.IncEstimated(0, 100);
    progress.IncEstimated(2, 100);     // there is no such stage
    Work(progress, clock, 0, 999, 25); // of 3996 ms
    EXPECT_EQ(watch.Take(), ValuesT({0, 25}));
    progress.WorkStopped(0, 1000); // work is not under way
    progress.IncEstimated(0, 100); // 7992 ms: never back
    clock.Advance(1400);           // 2399 of 7992, 30.01 %
    progress.IncEstimated(1, 10);  // nothing done of that stage yet
    EXPECT_EQ(watch.Take(), ValuesT({30}));
    Work(progress, clock, 1, 1001, 1); // 10010 ms more; time counts from the start of this piece: 5 %
    Work(progress, clock, 0, 1, 25);   // 50 of 200 in 1000 ms
    EXPECT_EQ(watch.Take(), ValuesT({0, 0}));
    clock.Advance(14008);
    progress.IncEstimated(0, 0); // 14009 of 14010: 99.99 %
    clock.Advance(100000);
    progress.IncEstimated(0, 0); // more than all: nothing
    progress.Finished();
    EXPECT_EQ(watch.Take(), ValuesT({95, 100}));
}

TEST(Progress, KeepsItsStepWithinBounds) {
    Watch watch;
    Clock clock;
    std::pair<unsigned long, ValuesT> const rows[] = {
        {0, {0, 1, 57, 99}}, {20, {0, 40, 80}}, {99, {0, 99}}, {100, {0}}, {500, {0}}};
    for (auto const& [step, values] : rows) {
        Progress progress("work", 1, step);
        Work(progress, clock, 0, 10, 1);
        for (long const milliseconds : {0, 560, 429, 1}) {
            clock.Advance(milliseconds);
            progress.IncEstimated(0, milliseconds == 0 ? 100 : 0); // 1000 ms in all
        }
        EXPECT_EQ(watch.Take(), values) << step;
    }
    Progress progress("work", 2, 1);
    progress.IncEstimated(0, ~0UL);
    progress.IncEstimated(1, ~0UL);
    Work(progress, clock, 0, 100000000, ~0UL / 2); // half of it
    Work(progress, clock, 1, 100000000, 1);        // longer than any number tells
    EXPECT_EQ(watch.Take(), ValuesT({0, 50, 0}));
}

TEST(Progress, RaisesNothingWithoutMemory) {
    ForEveryAllocation([](Heap& heap) {
        Watch watch;
        LogCapture log;
        heap.Arm();
        Progress progress("work", 20);
        bool const ok = !heap.Fired();
        progress.Finished();
        heap.Disarm();
        EXPECT_EQ(progress.Initialized(), ok);
        EXPECT_EQ(watch.Take(), heap.Fired() ? ValuesT() : ValuesT({100}));
        EXPECT_EQ(log.Count("out of memory"), ok && heap.Fired() ? 1u : 0u);
    });
}

} // namespace
