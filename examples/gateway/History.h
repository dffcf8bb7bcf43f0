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

    // Counts from the newest sample on, if there is one yet.
    void Start();

    // The newest value of each counter; with all samples, the newest 64 of the received bytes a second too.
    // False if memory ran out.
    bool AttachTo(Xml::Node& node, bool allSamples) const;
    // Those samples alone, newest first.
    bool AppendTo(Json::Array& array) const;

private:
    // With mutex_ held.
    void OnStatsAlarm_() override { Take_(); }
    void Take_();
    // False without a sample, or when memory ran out.
    bool Read_(Array<unsigned long long>& values) const;
    void PrimeRestarted_(Array<unsigned long long> const& values);

    Mutex mutex_{Mutex::CORE};
    Telemetry& telemetry_;

    // Guarded by mutex_.
    Stats::Rrd::Db db_;
    Array<unsigned long long> last_; // of the last update
};
