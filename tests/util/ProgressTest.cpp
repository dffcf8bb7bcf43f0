#include "zeb/util/Progress.h"
#include "tests/runtime/Worker.h"
#include "zeb/event/Bus.h"
#include "zeb/event/Delegate.h"

namespace {

using ProgressTest = WithMainThread;

struct Watch {
    Watch() { EXPECT_TRUE(Event::Subscribe("Event::Type::Progress", delegate)); }
    ~Watch() { Event::Unsubscribe("", this, "test"); }

    void On(Event::Progress const& event) {
        if (event.Name() == "work") heard += std::to_string(event.Value()) + (event.Reboot() ? "!" : " ");
    }
    std::string Take() { // what was raised since the last call
        EXPECT_TRUE(Event::Raise(Event::Progress("end", 0), nullptr, Event::SYNC, Event::DIRECT));
        return std::exchange(heard, "");
    }

    std::string heard;
    Event::Delegate<Watch> const delegate{"test", this, &Watch::On, nullptr};
};

// Words of a script: after so many milliseconds work starts, ends, or gets more, of a stage and an amount, or
// is finished.
TEST_F(ProgressTest, TellsTheTimeInPercentOfWhatIsExpected) {
    std::string const steps = "0m0,100 0s0,0 10e0,1 555m0,0 9m0,0 425m0,0 1m0,0"; // the first is a hundredth of all
    std::tuple<unsigned long, std::string, char const*> const rows[] = {
        // clang-format off
        {5, "0e0,1 0m0,100 0m2,100 / 0s0,0 999e0,25", "/ 0 25 "},             // not started, no such stage; of 3996 ms
        {5, "0m0,100 0s0,0 999e0,25 / 0e0,1000 1m0,100", "0 25 / "},          // not under way; 7992 ms: never back
        {5, "0m0,200 0s0,0 999e0,25 1400m1,10", "0 10 30 "},                  // of that stage nothing is done
        {5, "0m0,100 0s0,0 999e0,25 / 0m1,10 0s0,0 1001e1,1", "0 25 / 0 "},   // 14006 in all, from this start on
        {5, "0m0,100 0s0,0 999e2,9 1e0,25 / 2999m0,0 1m0,0 9f0,0", "0 25 / 95 100 "}, // 99.97 %; all; finished
        {1, "0m0,18446744073709551615 0s0,0 9999999999e0,9223372036854775807 0s0,0 9999999999e0,1", "0 50 0 "},
        {0, steps, "0 1 56 57 99 "}, {20, steps, "0 40 80 "}, {99, steps, "0 99 "}, {100, steps, "0 "}, {500, steps, "0 "}};
    // clang-format on
    Clock clock;
    for (auto const& [step, script, raised] : rows) {
        Watch watch;
        Util::Progress progress("work", 2, step);
        std::istringstream words(script);
        for (std::string word; words >> word;) {
            unsigned long milliseconds = 0, stage = 0, amount = 0;
            char operation = '/';
            sscanf(word.c_str(), "%lu%c%lu,%lu", &milliseconds, &operation, &stage, &amount);
            clock.Advance(long(milliseconds));
            if (operation == 's') progress.WorkStarted();
            if (operation == 'e') progress.WorkStopped(stage, amount);
            if (operation == 'm') progress.IncEstimated(stage, amount);
            if (operation == 'f') progress.Finished();
            if (operation == '/') watch.heard = watch.Take() + "/ ";
        }
        EXPECT_EQ(watch.Take(), raised) << script;
    }
}

TEST_F(ProgressTest, RaisesNothingWithoutMemory) {
    ForEveryAllocation([this](Heap& heap) {
        Watch watch;
        log_.Clear();
        heap.Arm();
        Util::Progress progress("work", 20);
        EXPECT_EQ(progress.Initialized(), !heap.Fired());
        progress.Finished();
        heap.Disarm();
        EXPECT_EQ(watch.Take(), heap.Fired() ? "" : "100 ");
        EXPECT_EQ(log_.Count("out of memory"), progress.Initialized() && heap.Fired());
    });
}

} // namespace
