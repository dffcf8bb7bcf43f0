#pragma once

// The recent history of the gateway: its counters in a round-robin database, fed each three seconds by the
// thread of the statistics. Its lock stands below that of Telemetry, which it reads.

#include "Telemetry.h"

#include "zeb/stats/Collector.h"
#include "zeb/stats/RrdDb.h"

namespace Json {
class Array;
}

class History : public Stats::Collector {
public:
    explicit History(Telemetry& telemetry);
    ~History() override { Deactivate(); }

    bool Initialized() const override { return Collector::Initialized() && db_.Initialized(); }
    char const* Name() const override { return "History"; }

    // The newest value of each counter, and the newest 64 samples of the received bytes a second. False if
    // memory ran out.
    bool AttachTo(Xml::Node& node) const;
    // Those samples alone, newest first.
    bool AppendTo(Json::Array& array) const;

private:
    void OnStatsAlarm_() override;
    ReturnT Update_(Sample const& sample, Telemetry::Counts const& counts);

    Mutex mutex_{Mutex::CORE};
    Telemetry& telemetry_;

    // Guarded by mutex_.
    Stats::Rrd::Db db_;
};
