#pragma once

// Rings of the round-robin database. Inside of Stats::Rrd::Db only, except for the sample of its answers.

#include "zeb/core/TimeSpan.h"

#include <cstdint>

namespace Stats::Rrd {

// A sample as it is read.
struct Sample {
    unsigned long long value = 0;
    Time::Span time;
};

// A time of a ring, in units of 100 ms of the monotonic clock.
inline Time::Span SpanOf(uint64_t time) {
    return Time::Span(Time::Span::Value(static_cast<long>(time / 10), static_cast<long>(time % 10) * 100000));
}

// The newest samples of one attribute at one level of detail. The memory belongs to the database, and is
// never cleared.
class RingBuffer {
public:
    static constexpr unsigned long SIZE = 64; // a power of two

    // A sample as it is kept.
    struct Sample {
        unsigned long long value;
        uint32_t time; // see SpanOf()
    };

    void Initialize(Sample* data) { data_ = data; }

    bool Empty() const { return next_ == 0 && !full_; }
    unsigned long Count() const { return full_ ? size_ : next_; }

    // The newest sample has the index 0. Below Count().
    Sample& operator[](unsigned long index) { return data_[(next_ - 1 - index) & (SIZE - 1)]; }
    Sample const& operator[](unsigned long index) const { return data_[(next_ - 1 - index) & (SIZE - 1)]; }

    // Calls the body with each of the newest `count` samples, or of those that there are, in any order.
    template<class BodyT>
    void ForNewest(unsigned long count, BodyT const& body) const;

    // 0 without a sample.
    uint32_t NewestTime() const { return Empty() ? 0 : (*this)[0].time; }

    void Push(unsigned long long value, uint32_t time) {
        data_[next_] = {value, time};
        next_ = (next_ + 1) & (SIZE - 1);
        full_ = full_ || next_ == 0;
    }

    void Clear() {
        next_ = 0;
        full_ = false;
    }

    // Exchanges the samples; each ring keeps its memory.
    void Exchange(RingBuffer& other);

private:
    Sample* data_ = nullptr;
    unsigned long next_ = 0; // where the next sample goes
    bool full_ = false;
    unsigned long size_ = SIZE;
};

static_assert(sizeof(RingBuffer::Sample) == 16);

template<class BodyT>
void RingBuffer::ForNewest(unsigned long count, BodyT const& body) const {
    if (count > Count()) count = Count();
    unsigned long const low = count < next_ ? count : next_; // below the write index; the others at the end
    for (Sample const *at = data_ + next_ - low, *end = data_ + next_; at != end; ++at)
        body(*at);
    for (Sample const *at = data_ + SIZE - (count - low), *end = data_ + SIZE; at != end; ++at)
        body(*at);
}

} // namespace Stats::Rrd
