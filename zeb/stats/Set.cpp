#include "zeb/stats/Set.h"

#include "zeb/doc/xml/Document.h"
#include "zeb/runtime/StatusLog.h"

namespace Stats {

Set::Set(CString const& name, unsigned long size) {
    if (name.Empty() || size == 0) {
        (void)ReturnT(StatusLog(ReturnT::Fail(), Log::CRITICAL, IDENT, nullptr, "").SetFail());
        return;
    }
    if (name_.Assign(name.Cstr(), name.Size())) (void)samples_.Allocate(size);
}

Set::~Set() = default;

bool Set::Initialized() const { return samples_.Size() != 0; }

void Set::AddSample(unsigned long value, Time::Span const& time) {
    if (samples_.Size() == 0) return;
    lastIndex_ = nextIndex_;
    samples_[lastIndex_] = value;
    lastTime_ = time;
    nextIndex_ = lastIndex_ + 1 == samples_.Size() ? 0 : lastIndex_ + 1;
    if (nextIndex_ == 0) full_ = true;
}

void Set::Clear() {
    full_ = false;
    lastTime_ = Time::Span::Zero();
    lastIndex_ = 0;
    nextIndex_ = 0;
    samples_.Reset();
}

void Set::Get(Time::Span& time, unsigned long& min, unsigned long& max, unsigned long& avg,
              unsigned long& cur) const {
    unsigned long const count = Count_();
    unsigned long run = 0;
    unsigned long runSize = 0;
    time = lastTime_;
    cur = Cur();
    min = count != 0 ? samples_[0] : 0;
    max = 0;
    avg = 0;
    for (unsigned long i = 0; i < count; ++i) {
        unsigned long const sample = samples_[i];
        if (sample < min) min = sample;
        if (sample > max) max = sample;
        bool const over = __builtin_add_overflow(run, sample, &run);
        if (over && runSize != 0) {
            avg += (run - sample) / runSize;
            run = sample;
            runSize = 0;
        }
        ++runSize;
    }
    if (runSize != 0) avg += run / runSize;
}

unsigned long Set::Cur() const { return samples_.Size() != 0 ? samples_[lastIndex_] : 0; }

bool Set::AttachTo(Xml::Node& node) const {
    Time::Span time;
    unsigned long min;
    unsigned long max;
    unsigned long avg;
    unsigned long cur;
    Get(time, min, max, avg, cur);
    if (Xml::Node* const set = node.AppendElement(name_)) {
        set->AppendElement("now", Time::Span::String(time).Cstr());
        set->AppendElement("min", min);
        set->AppendElement("max", max);
        set->AppendElement("avg", avg);
        set->AppendElement("cur", cur);
    }
    return node.Doc()->Valid();
}

} // namespace Stats
