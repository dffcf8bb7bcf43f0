// The counters of an interface: read each period, kept as a history, merged with one of before, and the load
// of the threads of this program.
#include "zeb/core/Array.h"
#include "zeb/core/Time.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Print.h"
#include "zeb/io/StdStream.h"
#include "zeb/runtime/Main.h"
#include "zeb/stats/RrdDb.h"
#include "zeb/stats/ThreadMonitor.h"

namespace {

using Stats::Rrd::Db;
using CountersT = Array<unsigned long long>;

enum { RECEIVED, DROPS, LINK, COUNT }; // in the order of the declarations

constexpr Db::Attribute ATTRIBUTES[COUNT] = {
    {"received", 8, Db::Attribute::SPEED, Db::RAISE_OFF}, // bits a second
    {"drops", 1, Db::Attribute::COUNT, Db::RAISE_OFF},
    {"link", 1, Db::Attribute::BOOL, Db::RAISE_ON}};

class Traffic : public Stats::Collector {
public:
    Traffic()
        : Collector(Time::Span(20), &mutex_)
        , db_("eth0", "interface", ATTRIBUTES, COUNT, Db::STEP_3S) {}
    ~Traffic() override { Deactivate(); } // ahead of all else

    bool Initialized() const override { return Collector::Initialized() && db_.Initialized(); }
    char const* Name() const override { return "traffic"; }

    // For a web page: what is newer than the newest sample that it has.
    ReturnT Answer(Xml::Node& node, CString const& queryTs, CString const& lastT,
                   CString const& lastTs) const {
        Db::Modifier modifier;
        ReturnT const code = Db::ParseModifiers(modifier, queryTs, lastT, lastTs);
        Mutex::Guard const guard(mutex_);
        if (code.Failed() || !guard.Held()) return code;
        return db_.AttachTo(node, ATTRIBUTES[RECEIVED].name, 0, modifier);
    }

    // The history of the interface that this one replaces, such as of a modem that was plugged in anew.
    ReturnT TakeOver(Db& before) {
        Mutex::Guard const guard(mutex_);
        return guard.Held() ? db_.Merge(before) : ReturnT::Fail();
    }

    // Of the last hours, however detailed that is.
    unsigned long long Rate() const {
        Mutex::Guard const guard(mutex_);
        Stats::Rrd::Sample rate;
        (void)db_.GetDatum(rate, ATTRIBUTES[RECEIVED].name, Db::LEVEL_ALL, Db::Modifier::Empty()); // 0 then
        return rate.value;
    }

private:
    // On the thread of the statistics, with mutex_ held. What fails is logged; the next alarm tries again.
    void OnStatsAlarm_() override {
        CountersT now;
        if (!ReadCounters_(now)) return;
        if (last_.Empty()) {
            (void)db_.Prime(Time::Span::Zero(), now); // what was counted before is no traffic of ours
        } else {
            if (now[RECEIVED] < last_[RECEIVED])
                (void)db_.Prime(ATTRIBUTES[RECEIVED].name, 0); // it has restarted
            (void)db_.Update(Time::Span::Zero(), now);
        }
        last_.Swap(now);
    }

    bool ReadCounters_(CountersT& out) {
        received_ += received_ == 5000000 ? -4990000 : 1000; // stands for a file of /sys
        unsigned long long const values[COUNT] = {received_, 3, 1};
        return out.Assign(values, COUNT);
    }

    Mutex mutex_{Mutex::INTERFACE};

    // Guarded by mutex_.
    Db db_;
    CountersT last_;
    unsigned long long received_ = 4997000;
};

class Load : public Thread::Monitor {
public:
    Load()
        : Monitor(60) {}
    ~Load() override { Deactivate(); }
    char const* Name() const override { return "load"; }
};

class Program : public Main {
public:
    Program()
        : Main("statistics") {}

    int Run() override {
        Traffic traffic;
        Load load;
        Db before("eth0", "interface", ATTRIBUTES, COUNT, Db::STEP_3S);
        if (!traffic.Initialized() || !load.Initialized() || traffic.TakeOver(before).Failed()) return 1;
        traffic.Activate();
        load.Activate();
        if (WaitForStop(150)) return 0;
        Xml::Document document;
        Xml::Node* const root = document.AppendElement("statistics");
        if (root == nullptr || traffic.Answer(*root, "", "", "").Failed() || traffic.Rate() == 0 ||
            Thread::AttachThreadsTo(load, *root).Failed())
            return 1;
        Io::StdOut out;
        return Xml::Print(out, document) && out.Flush() ? 0 : 1;
    }
};

} // namespace

int main() {
    Program program;
    if (!program.Initialized()) return 1;
    Log::ConsoleMode();
    return program.Run();
}
