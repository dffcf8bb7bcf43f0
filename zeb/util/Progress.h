#pragma once

// Util::Progress: estimates how far a piece of work in several stages has come, and tells it by
// Event::Progress.
//
//   Util::Progress progress("upgrade", STAGES, 5);
//   if (!progress.Initialized()) ...
//   progress.IncEstimated(DOWNLOAD, bytes);      // as soon as it is known; amounts in any unit of the stage
//   progress.WorkStarted();
//   ...
//   progress.WorkStopped(DOWNLOAD, bytesDone);
//   progress.Finished();
//
// A stage is expected to take its estimated amount at the pace of what is done of it; stages of which nothing
// is done yet do not count. The value is the time since the start in percent of that sum, in steps. It never
// goes back, and 100 comes only from Finished(). The clock is looked at by WorkStopped() and IncEstimated():
// call the latter with an amount of 0 whenever a piece is done.
//
// Owns      a copy of the name, and the two events that are raised at the start and at the end
// Threads   one at a time uses an object; events are delivered on the thread of the bus
// Waits     nothing: events are raised asynchronously
// Locks     the one of the bus is taken: hold none that stands above it
// Destroy   anywhere; work that was not finished is not told as such
// Memory    for the object at construction, or it is not Initialized() and raises nothing; later on for the
//           events: one that finds none is logged by the bus and lost

#include "zeb/core/Array.h"
#include "zeb/core/String.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/event/LibraryEvents.h"

namespace Util {

class ZEB_PUBLIC Progress {
public:
    // A step is from 1 to 100 percent; others become the nearest of these.
    Progress(CString const& name, unsigned long stageCount, unsigned long step = 1);

    // There was memory for everything. Other objects raise nothing.
    bool Initialized() const { return initialized_; }

    // The start of work, or of a further piece of it, from which on the time counts. Raises 0.
    void WorkStarted();

    // So much more of the stage is done, in the time since WorkStarted(). Ignored without that.
    void WorkStopped(unsigned long stage, unsigned long done);

    // So much more is to be done in the stage.
    void IncEstimated(unsigned long stage, unsigned long amount);

    // Raises 100.
    void Finished();

private:
    struct Stage_ {
        unsigned long done = 0;
        unsigned long estimated = 0;
        Time::Span spent;
    };

    bool MakeStages_(unsigned long count);
    unsigned long Expected_() const;
    void Recalculate_();
    void Raise_(Event::Progress const& event) const;

    String name_;
    Time::Span started_;
    unsigned long const step_;
    unsigned long percent_ = 0; // raised last
    Array<Stage_> stages_;
    Time::Span stageStart_; // zero while no work is under way
    Event::Progress const first_;
    Event::Progress const last_;
    bool initialized_;
};

} // namespace Util
