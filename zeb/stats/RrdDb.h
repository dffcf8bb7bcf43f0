#pragma once

// Stats::Rrd::Db: the recent history of a set of named counters, in memory: for each of them four rings of 64
// samples with decreasing detail, the levels 0 to 3.
//
//   step    level  a sample covers  made of           the ring covers
//   3 s     0      3 s              the raw value     192 s
//           1      1 min            20 of level 0     64 min
//           2      3 min            60 of level 0     192 min
//           3      24 min           24 of level 1     25.6 h
//   1 min   0      1 min            the raw value     64 min
//           1      3 min            3 of level 0      192 min
//           2      30 min           30 of level 0     32 h
//           3      156 min          52 of level 1     166.4 h
//
// The client calls Update() once a step, with one raw value for each attribute. The type of an attribute says
// what becomes of it:
//
//   NONE    nothing is kept, and nothing reported
//   SPEED   the rate of a counter per second            above: the mean
//   COUNT   the growth of a counter since last time     above: the sum
//   BOOL    the value as it is                          above: 1 if any is not 0
//   GAUGE   the value as it is                          above: the mean
//
// All but BOOL are multiplied by `scale`. Differences and sums of counters wrap at 64 bits.
//
// A counter counts from 0 as long as the database does not know better: the first sample of a SPEED or COUNT
// is the whole counter, all that was counted since the machine came up. Where that is not wanted, Prime() the
// counters first; and Prime() one to 0 that has been found to count afresh, or its growth wraps.
//
//   Stats::Rrd::Db db("eth0", "interface", ATTRIBUTES, 2, Stats::Rrd::Db::STEP_3S);
//   (void)db.Prime(Time::Span::Zero(), counters);                            // no sample, no event
//   ...                                                                     // each 3 s, under a lock:
//   if (counters[0] < before) (void)db.Prime("received", 0);                // the counter has restarted
//   if (db.Update(Time::Span::Zero(), counters).Failed()) ...               // which has been logged
//
// Owns      copies of all texts and the memory of all samples; the array of declarations is not kept
// Threads   one at a time: there is no lock inside, it is read and updated under that of the collector that
//           feeds it
// Cost      an update handles every attribute at level 0, and all of them again when a level is due; a query
//           looks for its attribute name by name
// Waits     nothing; events are put into the queue of the bus
// Locks     Update() and Reset() take the lock of the bus when they raise: hold none that stands above it
// Memory    is taken at construction, where a failure shows in Initialized(); such a database refuses values
//           and knows no attribute. Later on an event that finds none is logged and lost, a document says
//           itself that it is not whole, and GetData() fails

#include "zeb/core/Array.h"
#include "zeb/core/Export.h"
#include "zeb/core/PVector.h"
#include "zeb/core/ReturnT.h"
#include "zeb/core/String.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/stats/Block.h"
#include "zeb/stats/RrdRingBuffer.h"

#include <cstdint>
#include <utility>

namespace Xml {
class Node;
}

namespace Stats::Rrd {

namespace Attribute {
class Base;
}

class ZEB_PUBLIC Db {
public:
    static constexpr char const IDENT[] = "Stats::Rrd::Db";

    static constexpr unsigned LEVELS = 4;
    static constexpr unsigned char LEVEL_ALL = 255; // for GetDatum()
    static constexpr unsigned long SAMPLES = RingBuffer::SIZE;

    // Codes. All are failures.
    static constexpr ReturnT BAD_LEVEL{0x83E30064};
    static constexpr ReturnT UNKNOWN_ATTRIBUTE{0x83E300C8};
    static constexpr ReturnT BAD_MODIFIER{0x83E3012C};
    static constexpr ReturnT MERGE_COUNT{0x83E303E8};
    static constexpr ReturnT MERGE_TYPES{0x83E3044C};
    static constexpr ReturnT MERGE_TIMINGS{0x83E304B0};

    // The nominal distance of two updates.
    enum StepT : unsigned { STEP_3S = 0, STEP_1M = 1 };

    // Whether Event::Stats is raised; any value but 0 allows it.
    enum RaiseT : unsigned { RAISE_OFF = 0, RAISE_ON = 1 };

    struct Attribute;
    class Modifier;

    Db(CString const& id, CString const& area, Array<Attribute> const& attributes, StepT step);
    Db(CString const& id, CString const& area, Attribute const* attributes, unsigned long count, StepT step);
    ~Db();
    Db(Db const&) = delete;
    Db& operator=(Db const&) = delete;

    bool Initialized() const { return initialized_; }

    // Off at first. With it on, and `raise` of an attribute too, each change of its raw value raises an
    // event.
    void SetRaise(RaiseT raise) { raise_ = raise; }

    // One value for each attribute, in the order of their declaration, of a moment later than that of the
    // last update; zero is now. Another number of values and a time that is not later are refused, and
    // nothing changes. Less than a millisecond behind the last update a SPEED gets no sample, and the result
    // is a failure, but the update is made: what that counter has grown by is in no sample ever.
    ReturnT Update(Time::Span const& time, Array<unsigned long long> const& values);

    // Values from which the next update is to count, as if they were those of an update at that time, but
    // without a sample or an event; those of SPEED and COUNT alone are looked at. Ahead of the first update,
    // and again behind Reset() or after Merge() on the one that was reset. Refuses what Update() does; the
    // next update is later still.
    ReturnT Prime(Time::Span const& time, Array<unsigned long long> const& values);

    // The same for one counter, whose next rate covers the time since the last update as before: 0 when it
    // has restarted, or, when one of 32 bits has wrapped, its last value less 2^32. Nothing to do for other
    // types. UNKNOWN_ATTRIBUTE is logged.
    ReturnT Prime(CString const& attribute, unsigned long long value);

    // Adds the history of another database, which is reset by this: sample to sample from the newest on, as
    // far as both have some. It has as many attributes (or MERGE_COUNT), with the same names, types and
    // scales in any order (or MERGE_TYPES), and the same step (or MERGE_TIMINGS); it is not this one (a
    // failure). Nothing changes then. The times and samples of the one with more updates stay where the other
    // has none. Sums stop at the greatest value of the type. This one counts on from its own last values, and
    // is primed if it has had none; the other counts from 0.
    ReturnT Merge(Db& other);

    // Forgets all samples. Attributes that raise events, and whose raw value is not 0, raise one with 0.
    // Counters count from 0 again: see Prime().
    void Reset();

    // Whether any sample is not 0.
    bool HasData() const;

    // From the first update, or Prime(), to the last.
    Time::Span Lifetime() const { return lastUpdate_ - firstUpdate_; }

    // Always 64 samples of the level, newest first. Before the oldest one stand zeros, whose times go back by
    // the period of the level, below zero if need be. With a tailing modifier the first sample is what the
    // more detailed levels have gathered since the newest one, if that is not 0. An array of 64 samples is
    // overwritten in place. On failure it stays as it was; an unknown attribute has no message.
    ReturnT GetData(Array<Sample>& samples, CString const& attribute, unsigned char level,
                    Modifier const& modifier) const;

    // One figure of all samples of the level: of a COUNT their sum, of a SPEED or BOOL their mean, of a GAUGE
    // half of their mean. The time stays as it was. With a tailing modifier above level 0, or with LEVEL_ALL,
    // one figure of what the level, or level 3, holds and what the more detailed ones have gathered since,
    // and the time of the newest sample: of a COUNT the sum, of a SPEED the mean over the time, of a BOOL the
    // sum of the means of the levels, of a GAUGE a mean in which each level weighs as much as all above it.
    ReturnT GetDatum(Sample& sample, CString const& attribute, unsigned char level,
                     Modifier const& modifier) const;

    // Appends the samples of GetData() as array members "data": "t" (time), "ts" (time in the client's clock,
    // if a modifier has that), "v" (value). With a modifier of ParseModifiers() only those in a later second
    // than its LastT(), but all of them if the client's clock has gone ahead.
    ReturnT AttachTo(Xml::Node& node, CString const& attribute, unsigned char level,
                     Modifier const& modifier) const;

    // Appends for each attribute an element of its name with its newest value of level 0.
    ReturnT AttachLatestTo(Xml::Node& node) const;

    // What a client sends to get only what is new since its last query: its time now in whole seconds, the
    // time of the newest sample that it has, and the same in its own clock. Without the first, the modifier
    // becomes an empty one. On failure it stays as it was.
    static ReturnT ParseModifiers(Modifier& modifier, CString const& queryTs, CString const& lastT,
                                  CString const& lastTs);

    // Bytes for one attribute with its rings.
    static constexpr unsigned long AttributeMemorySize() { return 4336; }

private:
    using BaseT = Rrd::Attribute::Base;

    ReturnT Create_(CString const& id, CString const& area, Attribute const* attributes, unsigned long count);
    BaseT* Make_(Attribute const& declaration, RingBuffer::Sample* memory);
    void RestartCountdowns_();
    bool Accepts_(Time::Span const& time, Array<unsigned long long> const& values) const;
    void Advance_(Time::Span const& time);
    ReturnT UpdateRaw_(Time::Span const& time, Array<unsigned long long> const& values);
    void Raise_(BaseT const& attribute, unsigned long long value) const;
    BaseT* FindTwin_(BaseT const& attribute);
    BaseT const* Find_(CString const& name) const;
    BaseT* Find_(CString const& name) { return const_cast<BaseT*>(std::as_const(*this).Find_(name)); }
    ReturnT Read_(Sample* samples, CString const& attribute, unsigned char level,
                  Modifier const& modifier) const;
    ReturnT Fail_() const;
    ReturnT FailUnknown_(CString const& attribute) const;
    ReturnT FailLevel_(unsigned char level) const;
    ReturnT Attached_(Xml::Node const& node) const;

    String id_;
    String area_;
    unsigned long long updates_ = 0;
    Time::Span firstUpdate_;
    Time::Span lastUpdate_;
    AutoPVector<BaseT> attributes_;
    RaiseT raise_ = RAISE_OFF;
    StepT step_;
    unsigned const* multipliers_;
    Block<RingBuffer::Sample> pool_;
    bool initialized_ = false;

    // Updates until the levels 1 to 3 get their next sample.
    unsigned countdowns_[LEVELS] = {};
};

// The declaration of an attribute.
struct Db::Attribute {
    enum TypeT : unsigned { NONE = 0, SPEED = 1, COUNT = 2, BOOL = 3, GAUGE = 4 };

    char const* name;
    unsigned long scale; // multiplies raw values
    TypeT type;
    RaiseT raise;
};

// How to answer a query.
class ZEB_PUBLIC Db::Modifier {
public:
    // A shared empty one.
    static Modifier const& Empty();

    // Times in documents are whole seconds.
    void SetIntegerTime() { flags_ |= INTEGER_TIME_; }
    bool IsSetIntegerTime() const { return (flags_ & INTEGER_TIME_) != 0; }

    // What the more detailed levels have gathered is added.
    void SetTailing() { flags_ |= TAILING_; }
    bool IsSetTailing() const { return (flags_ & TAILING_) != 0; }

    // See ParseModifiers().
    void SetQueryTs(long seconds) { queryTs_ = seconds; }
    long QueryTs() const { return queryTs_; }
    void SetLastT(Time::Span const& time) { lastT_ = time; }
    Time::Span const& LastT() const { return lastT_; }
    void SetLastTs(Time::Span const& time) { lastTs_ = time; }
    Time::Span const& LastTs() const { return lastTs_; }

private:
    static constexpr unsigned INTEGER_TIME_ = 1;
    static constexpr unsigned TAILING_ = 2;

    unsigned flags_ = 0;
    long queryTs_ = 0;
    Time::Span lastT_;
    Time::Span lastTs_;
};

} // namespace Stats::Rrd
