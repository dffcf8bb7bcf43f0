// What all types of attributes share.

#include "zeb/core/Time.h"
#include "zeb/stats/RrdAttributeImpl.h"

#include <cstdint>
#include <utility>

namespace Stats::Rrd {

void RingBuffer::Exchange(RingBuffer& other) {
    for (unsigned long i = 0; i < SIZE && data_ && other.data_; ++i)
        std::swap(data_[i], other.data_[i]);
    std::swap(next_, other.next_);
    std::swap(full_, other.full_);
}

namespace Attribute {

namespace {

constexpr Levels LEVELS[] = {
    {{1, 20, 60, 480}, {0, 0, 0, 1}, {0, 20, 60, 24}, 30, 3000},
    {{1, 3, 30, 156}, {0, 0, 0, 1}, {0, 3, 30, 52}, 600, 60000},
};

unsigned long long Maximum_(Db::Attribute::TypeT type) {
    switch (type) {
    case Db::Attribute::NONE:
        return 0;
    case Db::Attribute::BOOL:
        return 1;
    default:
        return UINT64_MAX;
    }
}

} // namespace

Levels const& Levels::Of(Db::StepT step) { return LEVELS[step == Db::STEP_3S ? 0 : 1]; }

Base::Base(Db::Attribute const& declaration, Db::StepT step, unsigned long long const& updates,
           RingBuffer::Sample* memory)
    : multipliers_(Levels::Of(step).multipliers)
    , type_(declaration.type)
    , scale_(declaration.scale)
    , raise_(declaration.raise)
    , step_(step)
    , maximum_(Maximum_(declaration.type))
    , updates_(updates)
    , sources_(Levels::Of(step).sources)
    , counts_(Levels::Of(step).counts)
    , period_(Levels::Of(step).period)
    , initialized_(name_.Assign(CString(declaration.name))) {
    for (unsigned long level = 0; memory && level < Db::LEVELS; ++level)
        rings_[level].Initialize(memory + level * RingBuffer::SIZE);
}

Base::~Base() = default;

bool Base::HasData() const {
    bool found = false;
    for (RingBuffer const& ring : rings_)
        ring.ForNewest(RingBuffer::SIZE,
                       [&](RingBuffer::Sample const& at) { found = found || at.value != 0; });
    return found;
}

Time::Span Base::Period(unsigned level) const { return SpanOf(uint64_t{period_} * multipliers_[level]); }

unsigned long long Base::Mean_(unsigned long long sum, unsigned long carry, unsigned long count) {
    return count != 0 ? sum / count + UINT64_MAX / count * carry : 0;
}

Sum Base::SumSource_(unsigned long level) const {
    Sum sum;
    rings_[sources_[level]].ForNewest(counts_[level],
                                      [&](RingBuffer::Sample const& at) { sum.Add(at.value); });
    return sum;
}

unsigned long long Base::MeanSource_(unsigned long level) const {
    Sum const sum = SumSource_(level);
    return Mean_(sum.Low(), sum.Carry(), sum.Count());
}

unsigned long long Base::Gather_(unsigned level, uint32_t& mark) const {
    unsigned long long accumulator = 0;
    for (unsigned i = level + 1; i-- != 0;) {
        Sum sum;
        rings_[i].ForNewest(RingBuffer::SIZE, [&](RingBuffer::Sample const& at) {
            if (at.time > mark) sum.Add(at.value);
        });
        ConsolidateAttach_(accumulator, sum.Low(), sum.Carry(), sum.Count());
        if (!rings_[i].Empty()) mark = rings_[i].NewestTime();
    }
    return accumulator;
}

void Base::ConsolidateAttach_(unsigned long long& accumulator, unsigned long long sum, unsigned long carry,
                              unsigned long count) const {
    accumulator += Mean_(sum, carry, count);
}

ReturnT Base::GetDatum(Sample& sample, unsigned char level, Db::Modifier const& modifier) const {
    if (IsAll_(level, modifier)) {
        uint32_t mark = 0;
        sample.value = Gather_(Top_(level), mark);
        sample.time = SpanOf(mark);
        return ReturnT::Done();
    }
    Sum sum;
    rings_[level].ForNewest(RingBuffer::SIZE, [&](RingBuffer::Sample const& at) { sum.Add(at.value); });
    sample.value = 0;
    ConsolidateAttach_(sample.value, sum.Low(), sum.Carry(), sum.Count());
    return ReturnT::Done();
}

// True if the more detailed levels have gathered something since the newest sample of the level.
bool Base::ReadTail_(Sample& sample, unsigned level) const {
    RingBuffer const& ring = rings_[level];
    uint32_t mark = ring.NewestTime();
    sample.value = Gather_(level - 1, mark);
    sample.time = ring.Empty() ? SpanOf(mark) : SpanOf(ring.NewestTime()) + Period(level);
    return sample.value != 0;
}

void Base::Read(Sample* samples, unsigned level, Db::Modifier const& modifier) const {
    RingBuffer const& ring = rings_[level];
    unsigned long size = modifier.IsSetTailing() && level > 0 && ReadTail_(samples[0], level) ? 1 : 0;
    for (unsigned long i = 0; i < ring.Count() && size < Db::SAMPLES; ++i, ++size)
        samples[size] = {ring[i].value, SpanOf(ring[i].time)};
    if (size == 0) samples[size++] = {0, Time::Monotonic()};
    Time::Span const period = Period(level);
    for (; size < Db::SAMPLES; ++size)
        samples[size] = {0, samples[size - 1].time - period};
}

bool Base::IsTwin(Base const& other) const {
    return type_ == other.type_ && scale_ == other.scale_ && name_ == other.name_;
}

void Base::Add(Base const& other) {
    for (unsigned level = 0; level < Db::LEVELS; ++level) {
        RingBuffer& target = rings_[level];
        RingBuffer const& source = other.rings_[level];
        for (unsigned long i = 0; i < target.Count() && i < source.Count(); ++i) {
            unsigned long long value;
            bool const over = __builtin_add_overflow(target[i].value, source[i].value, &value);
            target[i].value = over || value > maximum_ ? maximum_ : value;
            if (source[i].time != 0) target[i].time = source[i].time;
        }
    }
}

void Base::Exchange(Base& other) {
    for (unsigned level = 0; level < Db::LEVELS; ++level)
        rings_[level].Exchange(other.rings_[level]);
}

void Base::Clear() {
    for (RingBuffer& ring : rings_)
        ring.Clear();
    lastValue_ = 0;
}

} // namespace Attribute

} // namespace Stats::Rrd
