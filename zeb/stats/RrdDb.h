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
// All memory is taken at construction, where a failure shows in Initialized(). There is no lock inside: the
// database is read and updated under that of the collector which feeds it.

#include "zeb/core/Array.h"
#include "zeb/core/Export.h"
#include "zeb/core/PVector.h"
#include "zeb/core/ReturnT.h"
#include "zeb/core/String.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/stats/Block.h"
#include "zeb/stats/RrdRingBuffer.h"

#include <cstdint>

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
    // last update; zero is now. Another number of values and another time are refused. Less than a
    // millisecond behind the last update a SPEED gets no sample, and the result is a failure, but the update
    // is made.
    ReturnT Update(Time::Span const& time, Array<unsigned long long> const& values);

    // Adds the history of the other database, which has the same attributes, in any order, and is reset
    // by this. The time line of the one with more updates stays. Sums stop at the greatest value of the type.
    ReturnT Merge(Db& other);

    // Forgets all samples. Attributes that raise events, and whose raw value is not 0, raise one with 0.
    void Reset();

    // Whether any sample is not 0.
    bool HasData() const;

    // From the first update to the last.
    Time::Span Lifetime() const { return lastUpdate_ - firstUpdate_; }

    // Always 64 samples of the level, newest first. Before the oldest one stand zeros, whose times go back by
    // the period of the level, below zero if need be. With a tailing modifier the first sample is what the
    // more detailed levels have gathered since the newest one, if that is not 0. An array of 64 samples is
    // overwritten in place. On failure it stays as it was; an unknown attribute has no message.
    ReturnT GetData(Array<Sample>& samples, CString const& attribute, unsigned char level,
                    Modifier const& modifier) const;

    // One figure of the ring of the level, made as a level above would; the time stays as it was. With a
    // tailing modifier, or with LEVEL_ALL, one figure of all that the level, or level 3, and the more
    // detailed ones hold, and the time of the newest sample.
    ReturnT GetDatum(Sample& sample, CString const& attribute, unsigned char level,
                     Modifier const& modifier) const;

    // Appends the samples of GetData() as array members "data": "t" (time), "ts" (time in the client's clock,
    // if a modifier has that), "v" (value). With a modifier that has it, only those newer than its LastT().
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
    ReturnT UpdateRaw_(Time::Span const& time, Array<unsigned long long> const& values);
    void Raise_(BaseT const& attribute, unsigned long long value) const;
    BaseT* FindTwin_(BaseT const& attribute);
    BaseT const* Find_(CString const& name) const;
    ReturnT Read_(Sample* samples, CString const& attribute, unsigned char level,
                  Modifier const& modifier) const;
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
