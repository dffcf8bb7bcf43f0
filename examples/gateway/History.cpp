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

// With mutex_ held.
void History::OnStatsAlarm_() {
    Sample sample;
    Telemetry::Counts counts;
    // What fails is logged; the next alarm tries again.
    if (telemetry_.Get(sample, counts) && sample.number != 0) (void)Update_(sample, counts);
}

ReturnT History::Update_(Sample const& sample, Telemetry::Counts const& counts) {
    unsigned long long values[COUNT] = {0, 0, sample.memory.available, 0, counts.failures};
    for (InterfaceSample const& interface : sample.interfaces) {
        values[0] += interface.rxBytes;
        values[1] += interface.txBytes;
        if (interface.speed != 0) values[3] = 1;
    }
    Array<unsigned long long> update;
    for (unsigned long long const value : values) {
        if (!update.PushBack(value)) return ReturnT::Oom();
    }
    return db_.Update(Time::Span::Zero(), update);
}

bool History::AttachTo(Xml::Node& node) const {
    Mutex::Guard const guard(mutex_);
    Xml::Node* const latest = node.AppendElement("latest");
    Xml::Node* const received = node.AppendElement("received_bytes");
    return guard.Held() && latest != nullptr && received != nullptr &&
           db_.AttachLatestTo(*latest).Succeeded() &&
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
