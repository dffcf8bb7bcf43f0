// The round-robin database beside rings of a general library and beside a database in a file on shared
// memory: an update of 16 counters with four levels, and a read of 64 samples.

#include "zeb/stats/RrdDb.h"

#include <benchmark/benchmark.h>

#ifdef ZEB_PEER_BOOST
#include <boost/circular_buffer.hpp>
#endif

#ifdef ZEB_PEER_RRD
#include <rrd.h>
#endif

#include <array>
#include <cstdio>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using Stats::Rrd::Db;
using DeclarationT = Db::Attribute;

constexpr unsigned long COUNTERS = 16;
constexpr DeclarationT::TypeT TYPES[] = {DeclarationT::SPEED, DeclarationT::COUNT, DeclarationT::BOOL,
                                         DeclarationT::GAUGE};
constexpr char const* NAMES[] = {"c0", "c1", "c2",  "c3",  "c4",  "c5",  "c6",  "c7",
                                 "c8", "c9", "c10", "c11", "c12", "c13", "c14", "c15"};
constexpr long STEP = 3;

// What the counters show at an update.
unsigned long long Raw(unsigned long counter, long update) {
    return static_cast<unsigned long long>(update) * (1000 + counter * 37);
}

class Ours {
public:
    explicit Ours(unsigned long counters = COUNTERS)
        : db_("bench", "bench", Declarations_(counters).data(), counters, Db::STEP_3S) {
        for (unsigned long i = 0; i < counters; ++i)
            (void)values_.PushBack(0);
    }

    bool Update() {
        ++update_;
        for (unsigned long i = 0; i < values_.Size(); ++i)
            values_[i] = Raw(i, update_);
        return db_.Update(Time::Span(Time::Span::Value(update_ * STEP, 0)), values_).Succeeded();
    }
    bool Read(Array<Stats::Rrd::Sample>& samples, unsigned char level) const {
        return db_.GetData(samples, "c8", level, Db::Modifier::Empty()).Succeeded();
    }
    // Of the attribute that is found last.
    bool ReadLast(Stats::Rrd::Sample& sample) const {
        return db_.GetDatum(sample, NAMES[(values_.Size() - 1) % COUNTERS], 0, Db::Modifier::Empty())
            .Succeeded();
    }

private:
    // Beyond the names that there are, all but the last ones are called "other".
    static std::vector<DeclarationT> Declarations_(unsigned long counters) {
        std::vector<DeclarationT> declarations;
        for (unsigned long i = 0; i < counters; ++i) {
            char const* const name = i + COUNTERS < counters ? "other" : NAMES[i % COUNTERS];
            declarations.push_back({name, 1, TYPES[i % std::size(TYPES)], Db::RAISE_OFF});
        }
        return declarations;
    }

    Db db_;
    Array<unsigned long long> values_;
    long update_ = 0;
};

void UpdateOurs(benchmark::State& state) {
    Ours ours;
    for (auto _ : state) {
        if (!ours.Update()) state.SkipWithError("not updated");
    }
}
BENCHMARK(UpdateOurs)->Name("Rrd.Update16/ours");

void ReadOurs(benchmark::State& state) {
    Ours ours;
    for (int i = 0; i < 10000; ++i)
        (void)ours.Update();
    Array<Stats::Rrd::Sample> samples;
    for (auto _ : state) {
        if (!ours.Read(samples, 0)) state.SkipWithError("not read");
        benchmark::DoNotOptimize(samples.Ptr());
    }
}
BENCHMARK(ReadOurs)->Name("Rrd.Read64/ours");

// An attribute of an update, and the search for one, by how many there are.
void UpdateGrowth(benchmark::State& state) {
    Ours ours(static_cast<unsigned long>(state.range(0)));
    for (auto _ : state) {
        if (!ours.Update()) state.SkipWithError("not updated");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(UpdateGrowth)->Name("Rrd.Update/Growth")->Arg(16)->Arg(256)->Arg(4096)->Arg(32768);

void FindGrowth(benchmark::State& state) {
    Ours ours(static_cast<unsigned long>(state.range(0)));
    Stats::Rrd::Sample sample;
    for (auto _ : state) {
        if (!ours.ReadLast(sample)) state.SkipWithError("not found");
    }
}
BENCHMARK(FindGrowth)->Name("Rrd.Find/Growth")->Arg(16)->Arg(256)->Arg(4096)->Arg(32768);

#ifdef ZEB_PEER_BOOST

// The same samples in rings of the other library, without names, modifiers or checks.
class Circular {
public:
    Circular() {
        for (auto& attribute : rings_) {
            for (auto& ring : attribute)
                ring.set_capacity(64);
        }
    }

    void Update() {
        ++update_;
        auto const time = static_cast<unsigned>(update_ * STEP * 10);
        for (unsigned long i = 0; i < COUNTERS; ++i)
            rings_[i][0].push_back({Level0_(i), time});
        for (unsigned level = 1; level < 4; ++level) {
            if (countdowns_[level]-- != 0) continue;
            countdowns_[level] = MULTIPLIERS_[level] - 1;
            for (unsigned long i = 0; i < COUNTERS; ++i)
                rings_[i][level].push_back({Consolidated_(i, level), time});
        }
    }
    void Read(std::vector<Stats::Rrd::Sample>& samples, unsigned level) const {
        auto const& ring = rings_[8][level];
        samples.clear();
        for (auto at = ring.rbegin(); at != ring.rend(); ++at) {
            long const time = at->time;
            samples.push_back({at->value, Time::Span(Time::Span::Value(time / 10, time % 10 * 100000))});
        }
    }

private:
    struct Sample {
        unsigned long long value;
        unsigned time;
    };

    unsigned long long Level0_(unsigned long i) {
        unsigned long long const raw = Raw(i, update_);
        unsigned long long const delta = raw - last_[i];
        last_[i] = raw;
        switch (TYPES[i % std::size(TYPES)]) {
        case DeclarationT::SPEED:
            return delta * 1000 / (STEP * 1000);
        case DeclarationT::COUNT:
            return delta;
        default:
            return raw;
        }
    }
    unsigned long long Consolidated_(unsigned long i, unsigned level) const {
        auto const& ring = rings_[i][SOURCES_[level]];
        unsigned long const count = std::min<unsigned long>(COUNTS_[level], ring.size());
        unsigned __int128 sum = 0;
        unsigned long long any = 0;
        for (auto at = ring.rbegin(), end = at + static_cast<long>(count); at != end; ++at) {
            sum += at->value;
            any |= at->value;
        }
        switch (TYPES[i % std::size(TYPES)]) {
        case DeclarationT::COUNT:
            return static_cast<unsigned long long>(sum);
        case DeclarationT::BOOL:
            return any != 0;
        default:
            return static_cast<unsigned long long>(sum) / count;
        }
    }

    static constexpr unsigned MULTIPLIERS_[] = {1, 20, 60, 480};
    static constexpr unsigned SOURCES_[] = {0, 0, 0, 1};
    static constexpr unsigned COUNTS_[] = {0, 20, 60, 24};

    std::array<std::array<boost::circular_buffer<Sample>, 4>, COUNTERS> rings_;
    std::array<unsigned long long, COUNTERS> last_ = {};
    unsigned countdowns_[4] = {};
    long update_ = 0;
};

void UpdateBoost(benchmark::State& state) {
    Circular peer;
    for (auto _ : state) {
        peer.Update();
        benchmark::ClobberMemory();
    }
}
BENCHMARK(UpdateBoost)->Name("Rrd.Update16/boost");

void ReadBoost(benchmark::State& state) {
    Circular peer;
    for (int i = 0; i < 10000; ++i)
        peer.Update();
    std::vector<Stats::Rrd::Sample> samples;
    for (auto _ : state) {
        peer.Read(samples, 0);
        benchmark::DoNotOptimize(samples.data());
    }
}
BENCHMARK(ReadBoost)->Name("Rrd.Read64/boost");

#endif

#ifdef ZEB_PEER_RRD

// The same attributes and levels in a file on shared memory.
class File {
public:
    File() {
        std::vector<std::string> words;
        for (unsigned long i = 0; i < COUNTERS; ++i) {
            char const* const type = i % std::size(TYPES) < 2 ? "DERIVE" : "GAUGE";
            words.push_back(std::string("DS:") + NAMES[i] + ":" + type + ":60:U:U");
        }
        for (char const* level : {"RRA:AVERAGE:0.5:1:64", "RRA:AVERAGE:0.5:20:64", "RRA:AVERAGE:0.5:60:64",
                                  "RRA:AVERAGE:0.5:480:64"})
            words.push_back(level);
        std::vector<char const*> pointers;
        for (std::string const& word : words)
            pointers.push_back(word.c_str());
        good_ = rrd_create_r(path_.c_str(), STEP, BEGIN_, static_cast<int>(pointers.size()),
                             pointers.data()) == 0;
    }
    ~File() { unlink(path_.c_str()); }
    File(File const&) = delete;
    File& operator=(File const&) = delete;

    bool Update() {
        ++update_;
        char text[32 + COUNTERS * 24];
        int size = snprintf(text, sizeof(text), "%ld", BEGIN_ + update_ * STEP);
        for (unsigned long i = 0; i < COUNTERS; ++i)
            size += snprintf(text + size, sizeof(text) - static_cast<unsigned long>(size), ":%llu",
                             Raw(i, update_));
        char const* arguments[] = {text};
        return good_ && rrd_update_r(path_.c_str(), nullptr, 1, arguments) == 0;
    }
    bool Read() const {
        time_t end = BEGIN_ + update_ * STEP;
        time_t begin = end - 64 * STEP;
        unsigned long step = STEP;
        unsigned long count = 0;
        char** names = nullptr;
        rrd_value_t* data = nullptr;
        if (rrd_fetch_r(path_.c_str(), "AVERAGE", &begin, &end, &step, &count, &names, &data)) return false;
        for (unsigned long i = 0; i < count; ++i)
            rrd_freemem(names[i]);
        rrd_freemem(names);
        rrd_freemem(data);
        return true;
    }

private:
    static constexpr long BEGIN_ = 1000000000;

    std::string const path_ = "/dev/shm/zeb-bench-" + std::to_string(getpid()) + ".rrd";
    bool good_ = false;
    long update_ = 0;
};

void UpdateFile(benchmark::State& state) {
    File peer;
    for (auto _ : state) {
        if (!peer.Update()) state.SkipWithError("not updated");
    }
}
BENCHMARK(UpdateFile)->Name("Rrd.Update16/librrd");

void ReadFile(benchmark::State& state) {
    File peer;
    for (int i = 0; i < 100; ++i)
        (void)peer.Update();
    for (auto _ : state) {
        if (!peer.Read()) state.SkipWithError("not read");
    }
}
BENCHMARK(ReadFile)->Name("Rrd.Read64/librrd");

#endif

} // namespace
