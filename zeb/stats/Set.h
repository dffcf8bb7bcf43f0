#pragma once

// Stats::Set: the newest samples of one figure, in a ring whose size is fixed at construction, with their
// least, greatest and average value. For hours of many counters take a Stats::Rrd::Db.
//
// Owns      a copy of the name and the ring
// Threads   one at a time: the owner locks
// Failure   an empty name or a size of 0 is logged; such a set, and one without memory, is not initialized,
//           takes nothing and shows zeros
// Memory    at construction; that it ran out is for the owner to report. Later on nothing is allocated but
//           what a document takes

#include "zeb/core/Export.h"
#include "zeb/core/String.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/stats/Block.h"

namespace Xml {
class Node;
}

namespace Stats {

class ZEB_PUBLIC Set {
public:
    static constexpr char const IDENT[] = "Stats::Set";

    Set(CString const& name, unsigned long size);
    virtual ~Set();
    Set(Set const&) = delete;
    Set& operator=(Set const&) = delete;

    virtual bool Initialized() const;

    virtual void AddSample(unsigned long value, Time::Span const& time);
    virtual void Clear();

    // The time of the newest sample and its value, and the figures of all samples in the ring; zeros without
    // a sample. The samples are summed in runs that fit 64 bits, and `avg` is the sum of the runs' means: it
    // is an average as long as the sum of the ring fits.
    void Get(Time::Span& time, unsigned long& min, unsigned long& max, unsigned long& avg,
             unsigned long& cur) const;
    unsigned long Cur() const;

    // Appends an element with the name of the set: "now", "min", "max", "avg", "cur". False if the document
    // ran out of memory.
    bool AttachTo(Xml::Node& node) const;

private:
    unsigned long Count_() const { return full_ ? samples_.Size() : nextIndex_; }

    bool full_ = false; // the ring has wrapped
    String name_;
    Time::Span lastTime_;
    unsigned long lastIndex_ = 0;
    unsigned long nextIndex_ = 0;
    Block<unsigned long> samples_;
};

} // namespace Stats
