// The round-robin database beside a slow, obvious twin, over random histories.

#include "tests/stats/Rrd.h"
#include "workbench/Clock.h"
#include "workbench/LogCapture.h"
#include "zeb/core/Time.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string>

namespace {

// A slow, obvious twin: for each attribute and level all samples that there were, the newest first.
struct Twin {
    static constexpr unsigned multiplier[2][4] = {{1, 20, 60, 480}, {1, 3, 30, 156}};
    static constexpr unsigned source[4] = {0, 0, 0, 1};
    static constexpr unsigned count[2][4] = {{0, 20, 60, 24}, {0, 3, 30, 52}};
    static constexpr long period[2] = {30, 600};

    using RingT = std::vector<std::pair<U64, uint32_t>>;
    struct Attribute {
        Type declaration;
        RingT rings[4];
        U64 last = 0;
        Time::Span lastTime;
    };

    static ValuesT Newest(RingT const& ring, unsigned long most, long mark = -1) {
        ValuesT values;
        for (unsigned long i = 0; i < std::min({most, ring.size(), 64ul}); ++i) {
            if (ring[i].second > mark) values.push_back(ring[i].first);
        }
        return values;
    }
    static U64 Mean(ValuesT const& values, unsigned long weight) {
        auto const sum = std::accumulate(values.begin(), values.end(), static_cast<unsigned __int128>(0));
        return weight == 0 ? 0 : U64(sum) / weight + ~0ull / weight * U64(sum >> 64);
    }
    static U64 Merged(Type::TypeT type, ValuesT const& values) {
        if (type == Type::COUNT) return std::accumulate(values.begin(), values.end(), U64{0});
        return type == Type::BOOL ? values != ValuesT(values.size()) : Mean(values, values.size());
    }
    U64 Raw(Attribute const& a, U64 value, Time::Span const& time) const {
        U64 const delta = (value - a.last) * a.declaration.scale;
        long const past = a.lastTime.IsZero() ? 0 : (time - a.lastTime).Milliseconds();
        if (a.declaration.type == Type::SPEED)
            return delta * 1000 / U64(past > 0 ? past : period[step] * 100);
        if (a.declaration.type == Type::COUNT) return delta;
        return a.declaration.type == Type::GAUGE ? value * a.declaration.scale : value;
    }
    void Update(Time::Span const& time, ValuesT const& values) {
        for (unsigned level = 0; level < 4; ++level) {
            for (unsigned long i = 0; updates % multiplier[step][level] == 0 && i < values.size(); ++i) {
                Attribute& a = attributes[i];
                ValuesT const from = Newest(a.rings[source[level]], count[step][level]);
                U64 const value = level == 0 ? Raw(a, values[i], time) : Merged(a.declaration.type, from);
                a.rings[level].insert(a.rings[level].begin(), {value, uint32_t(time.Milliseconds() / 100)});
                a.last = values[i];
                a.lastTime = time;
            }
        }
        ++updates;
    }
    // From ring `top` down what is newer than the mark, which moves. A weighted sum need not fit.
    struct Gathered {
        U64 value;
        long mark;
        bool fits;
    };
    Gathered Gather(Attribute const& a, unsigned top, long mark, bool weigh) const {
        Type::TypeT const type = a.declaration.type;
        ValuesT all;
        bool fits = true;
        unsigned long weight = 0;
        U64 out = 0;
        for (unsigned r = top + 1; r-- != 0;) {
            ValuesT const values = Newest(a.rings[r], 64, mark);
            for (U64 const value : values) {
                fits = fits && value <= ~0ull / multiplier[step][r];
                all.push_back(value * multiplier[step][r]);
                weight += multiplier[step][r];
            }
            out += type == Type::COUNT ? Merged(type, values) : Mean(values, values.size());
            if (type == Type::GAUGE) out /= 2;
            if (!a.rings[r].empty()) mark = a.rings[r][0].second;
        }
        if (weigh && type == Type::SPEED) return {Mean(all, weight), mark, fits};
        return {out, mark, true};
    }
    std::vector<Sample> Data(Attribute const& a, unsigned level, bool tail) const {
        std::vector<Sample> out;
        RingT const& ring = a.rings[level];
        long const distance = period[step] * multiplier[step][level];
        if (tail && level > 0) {
            auto const [value, mark, _] = Gather(a, level - 1, ring.empty() ? 0 : ring[0].second, false);
            if (value != 0) out.push_back({value, Tenths(ring.empty() ? mark : ring[0].second + distance)});
        }
        for (auto const& [value, time] : ring)
            out.push_back({value, Tenths(time)});
        if (out.empty()) out.push_back({0, Time::Monotonic()});
        while (out.size() < 64)
            out.push_back({0, out.back().time - Tenths(distance)});
        return out;
    }
    void Merge(Twin& other) {
        bool const swap = other.updates > updates;
        for (unsigned long i = 0; i < attributes.size() * 4; ++i) {
            RingT& ring = attributes[i / 4].rings[i % 4];
            RingT& from = other.attributes[i / 4].rings[i % 4];
            U64 const maximum = attributes[i / 4].declaration.type == Type::BOOL ? 1 : ~0ull;
            if (swap) ring.swap(from);
            for (unsigned long k = 0; k < std::min({ring.size(), from.size(), 64ul}); ++k) {
                auto const sum = static_cast<unsigned __int128>(ring[k].first) + from[k].first;
                ring[k] = {sum > maximum ? maximum : U64(sum),
                           from[k].second ? from[k].second : ring[k].second};
            }
        }
        updates = std::max(updates, other.updates);
        other.Reset();
    }
    void Reset() {
        updates = 0;
        for (Attribute& a : attributes)
            a = {a.declaration, {}, 0, a.lastTime};
    }

    Db::StepT step;
    std::vector<Attribute> attributes;
    U64 updates = 0;
};

void Compare(Db const& db, Twin const& twin) {
    for (Twin::Attribute const& a : twin.attributes) {
        for (unsigned i = 0; i < 10 && a.declaration.type != Type::NONE; ++i) {
            SCOPED_TRACE(a.declaration.name + std::to_string(i));
            bool const tail = i % 2 != 0;
            unsigned const level = i / 2;
            bool const all = level == 4 || (tail && level > 0);
            Sample datum{1, Time::Span(77)};
            Twin::Attribute one = a; // a level alone, or all from it down
            if (!all) one.rings[0] = a.rings[level];
            auto const [value, mark, fits] =
                twin.Gather(one, all ? std::min(level, 3u) : 0, all ? 0 : -1, all);
            auto const code = db.GetDatum(datum, a.declaration.name, level == 4 ? 255 : level, Tailing(tail));
            ASSERT_EQ(code.Succeeded(), fits);
            ASSERT_EQ(datum.value, fits ? value : 1);
            ASSERT_EQ(datum.time, all && fits ? Tenths(mark) : Time::Span(77));
            Array<Sample> read;
            ASSERT_EQ(db.GetData(read, a.declaration.name, level, Tailing(tail)).Succeeded(), level < 4);
            std::vector<Sample> const samples = level < 4 ? twin.Data(a, level, tail) : std::vector<Sample>();
            for (unsigned long k = 0; k < read.Size(); ++k)
                ASSERT_TRUE(read[k].value == samples[k].value && read[k].time == samples[k].time) << k;
        }
    }
}

TEST(RrdTwin, AgreesWithASlowTwinOverRandomHistories) {
    LogCapture log;
    Clock clock;
    for (unsigned seed = 0; seed < 6; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937_64 random(seed);
        Db::StepT const step = seed % 2 ? Db::STEP_1M : Db::STEP_3S;
        long const starts[] = {0, 10000000, (1L << 32) - 9000}; // the last one wraps the times in the rings
        Time::Span time = Tenths(starts[seed / 2 % 3]);
        Type backwards[std::size(ATTRIBUTES)];
        std::reverse_copy(std::begin(ATTRIBUTES), std::end(ATTRIBUTES), backwards);
        Db dbs[] = {{"a", "", ATTRIBUTES, 5, step}, {"b", "", backwards, 5, step}};
        Twin twins[] = {{step, {}, 0}, {step, {}, 0}};
        for (Type const& declaration : ATTRIBUTES) {
            twins[0].attributes.push_back({declaration, {}, 0, {}});
            twins[1].attributes.push_back({declaration, {}, 0, {}});
        }
        for (int i = 0; i < 2500 && !testing::Test::HasFailure(); ++i) {
            bool const second = i % 5 == 1;
            bool const merges = i == 1 || i == 4 || i % 601 == 600; // with more updates on either side
            ValuesT values(5);
            for (U64& value : values)
                value = random() >> random() % 64;
            time += Time::Span(1 + static_cast<int>(random() % (i % 3 < 2 ? 90 : 60000)));
            twins[second].Update(time, values);
            if (second) std::reverse(values.begin(), values.end());
            ASSERT_TRUE(Update(dbs[second], time, values));
            if (merges) {
                ASSERT_TRUE(dbs[second].Merge(dbs[!second]).Succeeded());
                twins[second].Merge(twins[!second]);
            }
            if (random() % 700 == 0) {
                dbs[second].Reset();
                twins[second].Reset();
            }
            if (random() % 60 != 0 && !merges) continue;
            Compare(dbs[0], twins[0]);
            Compare(dbs[1], twins[1]);
        }
    }
}

} // namespace
