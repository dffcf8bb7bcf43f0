#include "History.h"

#include "zeb/core/Time.h"
#include "zeb/doc/json/Array.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Node.h"

namespace {

using Stats::Rrd::Db;

constexpr long STEP = 3; // seconds

// In the order of the values of an update.
constexpr Db::Attribute ATTRIBUTES[] = {
    {"received_bytes", 1, Db::Attribute::SPEED, Db::RAISE_OFF},
    {"sent_bytes", 1, Db::Attribute::SPEED, Db::RAISE_OFF},
    {"memory_available", 1024, Db::Attribute::GAUGE, Db::RAISE_OFF},
    {"link", 1, Db::Attribute::BOOL, Db::RAISE_ON},
    {"failures", 1, Db::Attribute::COUNT, Db::RAISE_ON},
};
constexpr unsigned long COUNT = sizeof(ATTRIBUTES) / sizeof(ATTRIBUTES[0]);

} // namespace

History::History(Telemetry& telemetry)
    : Collector(Time::Span(STEP, 0), &mutex_)
    , telemetry_(telemetry)
    , db_("gateway", "machine", ATTRIBUTES, COUNT, Db::STEP_3S) {
    db_.SetRaise(Db::RAISE_ON);
}

void History::Start() {
    {
        Mutex::Guard const guard(mutex_);
        if (guard.Held()) Take_();
    }
    Activate(); // its first alarm comes at once
}

// What fails is logged; the next alarm tries again. Without the first values all that was counted since the
// machine came up would be the first sample.
void History::Take_() {
    Array<unsigned long long> values;
    if (!Read_(values)) return;
    PrimeRestarted_(values);
    if ((last_.Empty() ? db_.Prime(Time::Span::Zero(), values) : db_.Update(Time::Span::Zero(), values))
            .Succeeded())
        last_.Swap(values);
}

// The sum of a counter falls when an interface goes: what the others have counted since is not known.
void History::PrimeRestarted_(Array<unsigned long long> const& values) {
    for (unsigned long i = 0; i < last_.Size(); ++i) {
        if (values[i] < last_[i]) (void)db_.Prime(ATTRIBUTES[i].name, values[i]);
    }
}

bool History::Read_(Array<unsigned long long>& values) const {
    Sample sample;
    Telemetry::Counts counts;
    if (!telemetry_.Get(sample, counts) || sample.number == 0) return false;
    unsigned long long sums[COUNT] = {0, 0, sample.memory.available, 0, counts.failures};
    for (InterfaceSample const& interface : sample.interfaces) {
        sums[0] += interface.rxBytes;
        sums[1] += interface.txBytes;
        if (interface.speed != 0) sums[3] = 1;
    }
    return values.Assign(sums, COUNT);
}

bool History::AttachTo(Xml::Node& node, bool allSamples) const {
    Mutex::Guard const guard(mutex_);
    Xml::Node* const latest = node.AppendElement("latest");
    if (!guard.Held() || latest == nullptr || db_.AttachLatestTo(*latest).Failed()) return false;
    if (!allSamples) return true;
    Xml::Node* const received = node.AppendElement("received_bytes");
    return received != nullptr &&
           db_.AttachTo(*received, ATTRIBUTES[0].name, 0, Db::Modifier::Empty()).Succeeded();
}

bool History::AppendTo(Json::Array& array) const {
    Mutex::Guard const guard(mutex_);
    Array<Stats::Rrd::Sample> samples;
    if (!guard.Held() || db_.GetData(samples, ATTRIBUTES[0].name, 0, Db::Modifier::Empty()).Failed())
        return false;
    for (Stats::Rrd::Sample const& sample : samples) {
        if (array.Append(sample.value) == nullptr) return false;
    }
    return true;
}
