// Counters with a history, and the load of the threads of this program.
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

constexpr Db::Attribute ATTRIBUTES[] = {{"requests", 1, Db::Attribute::COUNT, Db::RAISE_OFF}};

class Requests : public Stats::Collector {
public:
    Requests()
        : Collector(Time::Span(20), &mutex_)
        , db_("server", "http", ATTRIBUTES, 1, Db::STEP_3S) {}
    ~Requests() override { Deactivate(); } // ahead of all else

    bool Initialized() const override { return Collector::Initialized() && db_.Initialized(); }
    char const* Name() const override { return "requests"; }

    bool AttachTo(Xml::Node& node) const {
        Mutex::Guard const guard(mutex_);
        return guard.Held() && db_.HasData() && db_.AttachLatestTo(node).Succeeded();
    }

private:
    // On the thread of the statistics, with mutex_ held. What fails is logged.
    void OnStatsAlarm_() override {
        Array<unsigned long long> values;
        total_ += 7;
        if (values.PushBack(total_)) (void)db_.Update(Time::Span::Zero(), values);
    }

    Mutex mutex_{Mutex::HTTP_MANAGER};

    // Guarded by mutex_.
    Db db_;
    unsigned long long total_ = 0;
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
        Requests requests;
        Load load;
        if (!requests.Initialized() || !load.Initialized()) return 1;
        requests.Activate();
        load.Activate();
        Sleep(100);
        Xml::Document document;
        Xml::Node* const root = document.AppendElement("statistics");
        if (root == nullptr || !requests.AttachTo(*root) || Thread::AttachThreadsTo(load, *root).Failed())
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
