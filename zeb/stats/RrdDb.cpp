#include "zeb/stats/RrdDb.h"

#include "zeb/core/Time.h"
#include "zeb/event/Bus.h"
#include "zeb/event/LibraryEvents.h"
#include "zeb/runtime/StatusLog.h"
#include "zeb/stats/RrdAttributeImpl.h"

#include <new>

namespace Stats::Rrd {

namespace {

constexpr unsigned long SAMPLES_PER_ATTRIBUTE = Db::LEVELS * RingBuffer::SIZE;

} // namespace

Db::Db(CString const& id, CString const& area, Array<Attribute> const& attributes, StepT step)
    : Db(id, area, attributes.Ptr(), attributes.Size(), step) {}

Db::Db(CString const& id, CString const& area, Attribute const* attributes, unsigned long count, StepT step)
    : step_(step)
    , multipliers_(Rrd::Attribute::Levels::Of(step).multipliers) {
    ReturnT const code = Create_(id, area, attributes, count);
    initialized_ = code.Succeeded();
    if (initialized_) return;
    attributes_.Clear();
    StatusLog log(code, Log::CRITICAL, IDENT, id_.Cstr(), "");
    code.IsOom() ? log.SetOom() : log.SetFail();
}

Db::~Db() = default;

ReturnT Db::Create_(CString const& id, CString const& area, Attribute const* attributes,
                    unsigned long count) {
    unsigned long rings = 0;
    if (!id_.Assign(id.Cstr(), id.Size()) || !area_.Assign(area.Cstr(), area.Size())) return ReturnT::Oom();
    for (unsigned long i = 0; i < count; ++i) {
        if (attributes[i].type > Attribute::GAUGE) return ReturnT::Fail();
        if (attributes[i].type != Attribute::NONE) rings += SAMPLES_PER_ATTRIBUTE;
    }
    if (!pool_.Allocate(rings)) return ReturnT::Oom();
    RingBuffer::Sample* memory = pool_.Ptr();
    for (unsigned long i = 0; i < count; ++i) {
        AutoPtr<BaseT> attribute(Make_(attributes[i], memory));
        if (!attribute || !attribute->Initialized() || !attributes_.PushBack(attribute))
            return ReturnT::Oom();
        if (attributes[i].type != Attribute::NONE) memory += SAMPLES_PER_ATTRIBUTE;
    }
    return ReturnT::Done();
}

// Null when memory ran out.
Rrd::Attribute::Base* Db::Make_(Attribute const& declaration, RingBuffer::Sample* memory) {
    using namespace Rrd::Attribute;
    switch (declaration.type) {
    case Attribute::SPEED:
        return new (std::nothrow) Speed(declaration, step_, updates_, memory);
    case Attribute::COUNT:
        return new (std::nothrow) Count(declaration, step_, updates_, memory);
    case Attribute::BOOL:
        return new (std::nothrow) Bool(declaration, step_, updates_, memory);
    case Attribute::GAUGE:
        return new (std::nothrow) Gauge(declaration, step_, updates_, memory);
    default:
        return new (std::nothrow) None(declaration, step_, updates_, nullptr);
    }
}

ReturnT Db::Fail_() const {
    return StatusLog(ReturnT::Fail(), Log::CRITICAL, IDENT, id_.Cstr(), "").SetFail();
}

bool Db::Accepts_(Time::Span const& time, Array<unsigned long long> const& values) const {
    return values.Size() == attributes_.Size() && time > lastUpdate_;
}

void Db::Advance_(Time::Span const& time) {
    if (firstUpdate_.IsZero()) firstUpdate_ = time;
    lastUpdate_ = time;
}

ReturnT Db::Prime(Time::Span const& time, Array<unsigned long long> const& values) {
    Time::Span const now = time.IsZero() ? Time::Monotonic() : time;
    if (!Accepts_(now, values)) return Fail_();
    for (unsigned long i = 0; i < values.Size(); ++i) {
        BaseT& attribute = *attributes_[i];
        if (attribute.Counts()) attribute.SetLastValue(values[i]);
        if (attribute.Type() == Attribute::SPEED) static_cast<Rrd::Attribute::Speed&>(attribute).Restart(now);
    }
    Advance_(now);
    return ReturnT::Done();
}

ReturnT Db::Prime(CString const& attribute, unsigned long long value) {
    BaseT* const found = Find_(attribute);
    if (!found) return FailUnknown_(attribute);
    if (found->Counts()) found->SetLastValue(value);
    return ReturnT::Done();
}

ReturnT Db::Update(Time::Span const& time, Array<unsigned long long> const& values) {
    Time::Span const now = time.IsZero() ? Time::Monotonic() : time;
    if (!Accepts_(now, values)) return Fail_();
    ReturnT const code = UpdateRaw_(now, values);
    for (unsigned level = 1; level < LEVELS; ++level) {
        if (countdowns_[level]-- != 0) continue;
        countdowns_[level] = multipliers_[level] - 1;
        for (unsigned long i = 0; i < values.Size(); ++i)
            (void)attributes_[i]->Update(level, values[i], now); // fails at level 0 only
    }
    ++updates_;
    Advance_(now);
    return code;
}

ReturnT Db::UpdateRaw_(Time::Span const& time, Array<unsigned long long> const& values) {
    ReturnT result = ReturnT::Done();
    bool const raise = raise_ != RAISE_OFF;
    unsigned long long const* const end = values.end();
    unsigned long i = 0;
    for (unsigned long long const* at = values.begin(); at != end; ++at, ++i) {
        BaseT& attribute = *attributes_[i];
        ReturnT const code = attribute.Update(0, *at, time);
        if (code.Failed()) result = code;
        if (raise && attribute.Raises() && *at != attribute.LastValue()) Raise_(attribute, *at);
        attribute.SetLastValue(*at);
    }
    return result;
}

// Without a listener nothing comes of it.
void Db::Raise_(BaseT const& attribute, unsigned long long value) const {
    AutoPtr<Event::Base> event(new (std::nothrow) Event::Stats(id_, area_, attribute.Name(), value));
    Event::Raise(event, Event::ASYNC, Event::DIRECT);
}

void Db::RestartCountdowns_() {
    for (unsigned level = 1; level < LEVELS; ++level) {
        unsigned const multiplier = multipliers_[level];
        countdowns_[level] = (multiplier - static_cast<unsigned>(updates_ % multiplier)) % multiplier;
    }
}

ReturnT Db::Merge(Db& other) {
    if (&other == this) return Fail_();
    if (attributes_.Size() != other.attributes_.Size()) {
        return StatusLog(MERGE_COUNT, Log::ERROR, IDENT, id_.Cstr(), "different attributes count at merge");
    }
    for (unsigned long i = 0; i < attributes_.Size(); ++i) {
        if (!other.FindTwin_(*attributes_[i]))
            return StatusLog(MERGE_TYPES, Log::ERROR, IDENT, id_.Cstr(),
                             "different attributes types at merge");
    }
    if (step_ != other.step_)
        return StatusLog(MERGE_TIMINGS, Log::ERROR, IDENT, id_.Cstr(), "unaligned timings of attributes");
    bool const swap = other.updates_ > updates_;
    for (unsigned long i = 0; i < attributes_.Size(); ++i) {
        BaseT& own = *attributes_[i];
        BaseT& twin = *other.FindTwin_(own);
        (swap ? twin : own).Add(swap ? own : twin);
        if (swap) own.Exchange(twin);
    }
    if (swap) updates_ = other.updates_;
    RestartCountdowns_();
    other.Reset();
    return ReturnT::Done();
}

Rrd::Attribute::Base* Db::FindTwin_(BaseT const& attribute) {
    for (unsigned long i = 0; i < attributes_.Size(); ++i) {
        if (attributes_[i]->IsTwin(attribute)) return attributes_[i];
    }
    return nullptr;
}

void Db::Reset() {
    updates_ = 0;
    firstUpdate_ = Time::Span::Zero();
    lastUpdate_ = Time::Span::Zero();
    RestartCountdowns_();
    for (unsigned long i = 0; i < attributes_.Size(); ++i) {
        BaseT& attribute = *attributes_[i];
        if (raise_ != RAISE_OFF && attribute.Raises() && attribute.LastValue() != 0) Raise_(attribute, 0);
        attribute.Clear();
    }
}

bool Db::HasData() const {
    for (unsigned long i = 0; i < attributes_.Size(); ++i) {
        if (attributes_[i]->HasRings() && attributes_[i]->HasData()) return true;
    }
    return false;
}

} // namespace Stats::Rrd
