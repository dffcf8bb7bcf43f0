#pragma once

// The attributes of a round-robin database, one class for each type. Made, owned and called by
// Stats::Rrd::Db.

#include "zeb/core/String.h"
#include "zeb/stats/RrdDb.h"

namespace Stats::Rrd::Attribute {

// A sum of samples of 128 bits: the low half, and how often it was passed.
class Sum {
public:
    void Add(unsigned long long value) {
        total_ += value;
        ++count_;
    }

    unsigned long long Low() const { return static_cast<unsigned long long>(total_); }
    unsigned long Carry() const { return static_cast<unsigned long>(total_ >> 64); }
    unsigned long Count() const { return count_; }

private:
    unsigned __int128 total_ = 0;
    unsigned long count_ = 0;
};

// How the levels of a step are made.
struct Levels {
    unsigned multipliers[Db::LEVELS]; // updates to a sample
    unsigned sources[Db::LEVELS];     // the level that a sample is made of
    unsigned counts[Db::LEVELS];      // so many samples of it
    uint32_t period;                  // the step, in units of 100 ms
    unsigned nominalMs;

    static Levels const& Of(Db::StepT step);
};

class Base {
public:
    // The rings lie in `memory`, Db::LEVELS slices of RingBuffer::SIZE samples in the order of the levels;
    // null for an attribute without rings. `updates` is the counter of the database.
    Base(Db::Attribute const& declaration, Db::StepT step, unsigned long long const& updates,
         RingBuffer::Sample* memory);
    virtual ~Base();
    Base(Base const&) = delete;
    Base& operator=(Base const&) = delete;

    virtual bool HasData() const;

    // At level 0 the value is a raw one; above it is not looked at.
    virtual ReturnT Update(unsigned long level, unsigned long long value, Time::Span const& time) = 0;

    virtual ReturnT GetDatum(Sample& sample, unsigned char level, Db::Modifier const& modifier) const;

    // Adds samples of a level to what the levels above have given.
    virtual void ConsolidateAttach_(unsigned long long& accumulator, unsigned long long sum,
                                    unsigned long carry, unsigned long count) const;

    bool Initialized() const { return initialized_; }
    CString const& Name() const { return name_; }
    Db::Attribute::TypeT Type() const { return type_; }
    bool Counts() const { return type_ == Db::Attribute::SPEED || type_ == Db::Attribute::COUNT; }
    bool HasRings() const { return type_ != Db::Attribute::NONE; }
    bool Raises() const { return raise_ != Db::RAISE_OFF; }
    RingBuffer const& Ring(unsigned level) const { return rings_[level]; }

    // The time from one sample of the level to the next.
    Time::Span Period(unsigned level) const;

    unsigned long long LastValue() const { return lastValue_; }
    void SetLastValue(unsigned long long value) { lastValue_ = value; }

    // What GetData() gives with this level and modifier: fills all of the Db::SAMPLES.
    void Read(Sample* samples, unsigned level, Db::Modifier const& modifier) const;

    bool IsTwin(Base const& other) const;

    // Adds the samples of the other attribute to those of this one; each keeps its own times.
    void Add(Base const& other);
    void Exchange(Base& other);
    void Clear();

protected:
    static bool IsAll_(unsigned char level, Db::Modifier const& modifier) {
        return level == Db::LEVEL_ALL || (modifier.IsSetTailing() && level > 0);
    }
    static unsigned Top_(unsigned char level) { return level == Db::LEVEL_ALL ? Db::LEVELS - 1 : level; }

    // The mean of the samples, a carry being worth UINT64_MAX / count. 0 for none.
    static unsigned long long Mean_(unsigned long long sum, unsigned long carry, unsigned long count);

    void Write_(unsigned long level, unsigned long long value, Time::Span const& time) {
        Time::Span::Value const& parts = time.Parts();
        auto const tenths = static_cast<unsigned long>(parts.Seconds()) * 10 +
                            static_cast<unsigned long>(parts.Microseconds()) / 100000;
        rings_[level].Push(value, static_cast<uint32_t>(tenths)); // wraps
    }

    // Of what a sample of the level is made of.
    Sum SumSource_(unsigned long level) const;
    unsigned long long MeanSource_(unsigned long level) const;

    // Consolidates the samples newer than `mark` of ring `level` and then of each more detailed one, a ring
    // moving the mark to its newest sample.
    unsigned long long Gather_(unsigned level, uint32_t& mark) const;
    bool ReadTail_(Sample& sample, unsigned level) const;

    RingBuffer rings_[Db::LEVELS];
    unsigned const* multipliers_;
    String name_;
    unsigned long long lastValue_ = 0; // the last raw one
    Db::Attribute::TypeT type_;
    unsigned long scale_;
    Db::RaiseT raise_;
    Db::StepT step_;
    unsigned long long maximum_;
    unsigned long long const& updates_;
    unsigned const* sources_;
    unsigned const* counts_;
    uint32_t period_;
    bool initialized_;
};

static_assert(sizeof(Base) + Db::LEVELS * RingBuffer::SIZE * sizeof(RingBuffer::Sample) ==
              Db::AttributeMemorySize());

class None : public Base {
public:
    using Base::Base;

    bool HasData() const override;
    ReturnT Update(unsigned long level, unsigned long long value, Time::Span const& time) override;
    void ConsolidateAttach_(unsigned long long& accumulator, unsigned long long sum, unsigned long carry,
                            unsigned long count) const override;
};

class Speed : public Base {
public:
    Speed(Db::Attribute const& declaration, Db::StepT step, unsigned long long const& updates,
          RingBuffer::Sample* memory);

    ReturnT Update(unsigned long level, unsigned long long value, Time::Span const& time) override;
    ReturnT GetDatum(Sample& sample, unsigned char level, Db::Modifier const& modifier) const override;

    // The next rate covers the time from then on.
    void Restart(Time::Span const& time) { lastTime_ = time; }

private:
    ReturnT UpdateRaw_(unsigned long long value, Time::Span const& time);

    Time::Span lastTime_; // of the last raw update
    unsigned nominalMs_;  // milliseconds of a step
};

class Count : public Base {
public:
    using Base::Base;

    ReturnT Update(unsigned long level, unsigned long long value, Time::Span const& time) override;
    void ConsolidateAttach_(unsigned long long& accumulator, unsigned long long sum, unsigned long carry,
                            unsigned long count) const override;
};

class Bool : public Base {
public:
    using Base::Base;

    ReturnT Update(unsigned long level, unsigned long long value, Time::Span const& time) override;
};

class Gauge : public Base {
public:
    using Base::Base;

    ReturnT Update(unsigned long level, unsigned long long value, Time::Span const& time) override;
    void ConsolidateAttach_(unsigned long long& accumulator, unsigned long long sum, unsigned long carry,
                            unsigned long count) const override;
};

} // namespace Stats::Rrd::Attribute
