// What each type of attribute makes of raw values and of samples.

#include "zeb/runtime/StatusLog.h"
#include "zeb/stats/RrdAttributeImpl.h"

namespace Stats::Rrd::Attribute {

namespace {

constexpr long SOON = 1L << 40; // seconds, of which the microseconds fit

// As Time::Span::Milliseconds() of the difference, on a path that every update takes.
long Milliseconds_(Time::Span const& from, Time::Span const& to) {
    long const seconds = to.Parts().Seconds() - from.Parts().Seconds();
    if (seconds < -SOON || seconds > SOON) return (to - from).Milliseconds();
    return (seconds * 1000000 + to.Parts().Microseconds() - from.Parts().Microseconds()) / 1000;
}

} // namespace

bool None::HasData() const {
    (void)ReturnT(StatusLog(ReturnT::Fail(), Log::CRITICAL, Db::IDENT, name_.Cstr(), "").SetFail());
    return false;
}

ReturnT None::Update(unsigned long, unsigned long long, Time::Span const&) { return ReturnT::Done(); }

void None::ConsolidateAttach_(unsigned long long& accumulator, unsigned long long, unsigned long,
                              unsigned long) const {
    accumulator = 0;
}

Speed::Speed(Db::Attribute const& declaration, Db::StepT step, unsigned long long const& updates,
             RingBuffer::Sample* memory)
    : Base(declaration, step, updates, memory)
    , nominalMs_(Levels::Of(step).nominalMs) {}

ReturnT Speed::Update(unsigned long level, unsigned long long value, Time::Span const& time) {
    if (level == 0) return UpdateRaw_(value, time);
    Write_(level, MeanSource_(level), time);
    return ReturnT::Done();
}

ReturnT Speed::UpdateRaw_(unsigned long long value, Time::Span const& time) {
    if (lastTime_.IsZero()) lastTime_ = time;
    long elapsed = Milliseconds_(lastTime_, time);
    if (elapsed <= 0) { // below 0 only behind a reset
        if (updates_ != 0) {
            return StatusLog(ReturnT::Fail(), Log::CRITICAL, Db::IDENT, name_.Cstr(), "").SetFail();
        }
        elapsed = nominalMs_;
    }
    lastTime_ = time;
    Write_(0, (value - lastValue_) * scale_ * 1000 / static_cast<unsigned long>(elapsed), time);
    return ReturnT::Done();
}

// A mean in which each sample weighs as much as the updates that it covers.
ReturnT Speed::GetDatum(Sample& sample, unsigned char level, Db::Modifier const& modifier) const {
    if (!IsAll_(level, modifier)) return Base::GetDatum(sample, level, modifier);
    Sum sum;
    unsigned long weight = 0;
    uint32_t mark = 0;
    bool fits = true;
    for (unsigned i = Top_(level) + 1; i-- != 0;) {
        rings_[i].ForNewest(RingBuffer::SIZE, [&](RingBuffer::Sample const& at) {
            unsigned long long product;
            if (at.time <= mark) return;
            fits = !__builtin_mul_overflow(at.value, multipliers_[i], &product) && fits;
            sum.Add(product);
            weight += multipliers_[i];
        });
        if (!rings_[i].Empty()) mark = rings_[i].NewestTime();
    }
    if (!fits) return StatusLog(ReturnT::Fail(), Log::CRITICAL, Db::IDENT, name_.Cstr(), "").SetFail();
    sample.value = Mean_(sum.Low(), sum.Carry(), weight != 0 ? weight : 1);
    sample.time = SpanOf(mark);
    return ReturnT::Done();
}

ReturnT Count::Update(unsigned long level, unsigned long long value, Time::Span const& time) {
    Write_(level, level == 0 ? (value - lastValue_) * scale_ : SumSource_(level).Low(), time);
    return ReturnT::Done();
}

void Count::ConsolidateAttach_(unsigned long long& accumulator, unsigned long long sum, unsigned long,
                               unsigned long) const {
    accumulator += sum;
}

ReturnT Bool::Update(unsigned long level, unsigned long long value, Time::Span const& time) {
    if (level != 0) {
        unsigned long long any = 0;
        rings_[sources_[level]].ForNewest(counts_[level],
                                          [&](RingBuffer::Sample const& at) { any |= at.value; });
        value = any != 0 ? 1 : 0;
    }
    Write_(level, value, time);
    return ReturnT::Done();
}

ReturnT Gauge::Update(unsigned long level, unsigned long long value, Time::Span const& time) {
    Write_(level, level == 0 ? value * scale_ : MeanSource_(level), time);
    return ReturnT::Done();
}

void Gauge::ConsolidateAttach_(unsigned long long& accumulator, unsigned long long sum, unsigned long carry,
                               unsigned long count) const {
    accumulator = (accumulator + Mean_(sum, carry, count)) >> 1;
}

} // namespace Stats::Rrd::Attribute
