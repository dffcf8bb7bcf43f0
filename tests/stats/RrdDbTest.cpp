#include "zeb/stats/RrdDb.h"

#include "tests/runtime/Worker.h"
#include "tests/stats/Printed.h"
#include "tests/support/Clock.h"
#include "tests/support/Heap.h"
#include "tests/support/LogCapture.h"
#include "zeb/core/Time.h"
#include "zeb/event/Bus.h"
#include "zeb/event/Delegate.h"
#include "zeb/event/LibraryEvents.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <optional>
#include <random>
#include <vector>

using Stats::Rrd::Db;
using Type = Db::Attribute;
using Stats::Rrd::Sample;

namespace Stats::Rrd {
bool operator==(Sample const& a, Sample const& b) { return a.value == b.value && a.time == b.time; }
void PrintTo(Sample const& sample, std::ostream* out) {
    *out << sample.value << "@" << Time::Span::String(sample.time).Cstr();
}
} // namespace Stats::Rrd

namespace {

using U64 = unsigned long long;
using ValuesT = std::vector<U64>;
using LinesT = LogCapture::LinesT;

Type const ATTRIBUTES[] = {{"rate", 8, Type::SPEED, Db::RAISE_OFF},  {"none", 1, Type::NONE, Db::RAISE_OFF},
                           {"drops", 3, Type::COUNT, Db::RAISE_OFF}, {"up", 5, Type::BOOL, Db::RAISE_OFF},
                           {"heat", 2, Type::GAUGE, Db::RAISE_OFF},  {"fast", 1, Type::SPEED, Db::RAISE_OFF}};

Db::Modifier Tailing(bool tail) {
    Db::Modifier modifier;
    if (tail) modifier.SetTailing();
    return modifier;
}

ReturnT Update(Db& db, Time::Span const& time, ValuesT const& values) {
    Array<U64> array;
    EXPECT_TRUE(array.Assign(values.data(), values.size()));
    return db.Update(time, array);
}

Time::Span Tenths(long tenths) { return Time::Span(Time::Span::Value(tenths / 10, tenths % 10 * 100000)); }

// A slow, obvious twin: for each attribute and level all samples that there were, the newest first.
struct Twin {
    struct Ring : std::vector<std::pair<U64, uint32_t>> {
        ValuesT Newest(unsigned long count, long mark = -1) const {
            ValuesT values;
            for (unsigned long i = 0; i < std::min({count, size(), 64ul}); ++i) {
                if (at(i).second > mark) values.push_back(at(i).first);
            }
            return values;
        }
        uint32_t Time() const { return empty() ? 0 : front().second; }
    };
    struct Attribute {
        Type declaration;
        Ring rings[4];
        U64 last = 0;
        Time::Span lastTime;
    };

    static U64 Sum(ValuesT const& values) { return std::accumulate(values.begin(), values.end(), U64{0}); }
    static U64 Mean(ValuesT const& values, unsigned long weight) {
        auto const sum = std::accumulate(values.begin(), values.end(), static_cast<unsigned __int128>(0));
        return weight == 0 ? 0 : U64(sum) / weight + ~0ull / weight * U64(sum >> 64);
    }
    U64 Raw(Attribute& a, U64 value, Time::Span const& time) const {
        U64 const delta = value - a.last;
        if (a.declaration.type == Type::BOOL) return value;
        if (a.declaration.type == Type::GAUGE) return value * a.declaration.scale;
        if (a.declaration.type == Type::COUNT) return delta * a.declaration.scale;
        long const past = a.lastTime.IsZero() ? 0 : (time - a.lastTime).Milliseconds();
        return delta * a.declaration.scale * 1000 / U64(past > 0 ? past : period[step] * 100);
    }
    void Update(Time::Span const& time, ValuesT const& values) {
        for (unsigned level = 0; level < 4; ++level) {
            for (unsigned long i = 0; updates % multiplier[step][level] == 0 && i < values.size(); ++i) {
                Attribute& a = attributes[i];
                ValuesT const from = a.rings[source[level]].Newest(count[step][level]);
                U64 value = level == 0 ? Raw(a, values[i], time) : Mean(from, from.size());
                if (level != 0 && a.declaration.type == Type::COUNT) value = Sum(from);
                if (level != 0 && a.declaration.type == Type::BOOL) value = from != ValuesT(from.size());
                if (level == 0) a.last = values[i];
                if (level == 0) a.lastTime = time;
                a.rings[level].insert(a.rings[level].begin(), {value, uint32_t(time.Milliseconds() / 100)});
            }
        }
        ++updates;
    }
    // From level `top` down, what is newer than the mark, which moves.
    U64 Gather(Attribute const& a, unsigned top, long& mark) const {
        U64 out = 0;
        for (int r = int(top); r >= 0; --r) {
            ValuesT const values = a.rings[r].Newest(64, mark);
            U64 const mean = Mean(values, values.size());
            out = a.declaration.type == Type::COUNT   ? out + Sum(values)
                  : a.declaration.type == Type::GAUGE ? U64((out + mean) / 2)
                                                      : out + mean;
            if (!a.rings[r].empty()) mark = a.rings[r].Time();
        }
        return out;
    }
    std::vector<Sample> Data(Attribute const& a, unsigned level, bool tail) const {
        std::vector<Sample> out;
        Ring const& ring = a.rings[level];
        long const distance = long(period[step]) * multiplier[step][level];
        long mark = ring.Time();
        U64 const gathered = tail && level > 0 ? Gather(a, level - 1, mark) : 0;
        if (gathered != 0) out.push_back({gathered, Tenths(ring.empty() ? mark : ring.Time() + distance)});
        for (auto const& [value, time] : ring)
            out.push_back({value, Tenths(time)});
        if (out.empty()) out.push_back({0, Time::Monotonic()});
        while (out.size() < 64)
            out.push_back({0, out.back().time - Tenths(distance)});
        out.resize(64);
        return out;
    }
    // Nothing when a weighted sample does not fit.
    std::optional<Sample> Datum(Attribute const& a, unsigned level, bool tail,
                                Time::Span const& unset) const {
        long mark = -1;
        if (level != 255 && (!tail || level == 0)) {
            Attribute const one{a.declaration, {a.rings[level]}, 0, {}};
            return Sample{Gather(one, 0, mark), unset};
        }
        ValuesT weighted;
        unsigned long weight = 0;
        unsigned const top = level == 255 ? 3 : level;
        bool fits = true;
        mark = 0;
        for (int r = int(top); r >= 0; --r) {
            for (U64 const value : a.rings[r].Newest(64, mark)) {
                fits = fits && value <= ~0ull / multiplier[step][r];
                weighted.push_back(value * multiplier[step][r]);
                weight += multiplier[step][r];
            }
            if (!a.rings[r].empty()) mark = a.rings[r].Time();
        }
        if (a.declaration.type == Type::SPEED)
            return fits ? std::optional(Sample{Mean(weighted, weight), Tenths(mark)}) : std::nullopt;
        mark = 0;
        U64 const value = Gather(a, top, mark);
        return Sample{value, Tenths(mark)};
    }
    void Merge(Twin& other) {
        bool const swap = other.updates > updates;
        for (Attribute& a : attributes) {
            for (Attribute& b : other.attributes) {
                if (CString(a.declaration.name) == CString(b.declaration.name)) MergeRings(a, b, swap);
            }
        }
        updates = std::max(updates, other.updates);
        other.Reset();
    }
    static void MergeRings(Attribute& a, Attribute& b, bool swap) {
        for (unsigned level = 0; level < 4; ++level) {
            Ring target = swap ? b.rings[level] : a.rings[level];
            Ring const& from = swap ? a.rings[level] : b.rings[level];
            for (unsigned long i = 0; i < std::min({target.size(), from.size(), 64ul}); ++i) {
                U64 const maximum = a.declaration.type == Type::BOOL ? 1 : ~0ull;
                auto const sum = static_cast<unsigned __int128>(target[i].first) + from[i].first;
                target[i] = {sum > maximum ? maximum : U64(sum),
                             from[i].second ? from[i].second : target[i].second};
            }
            a.rings[level] = target;
        }
    }
    void Reset() {
        updates = 0;
        for (Attribute& a : attributes)
            a = {a.declaration, {}, 0, a.lastTime};
    }

    static constexpr unsigned multiplier[2][4] = {{1, 20, 60, 480}, {1, 3, 30, 156}};
    static constexpr unsigned source[4] = {0, 0, 0, 1};
    static constexpr unsigned count[2][4] = {{0, 20, 60, 24}, {0, 3, 30, 52}};
    static constexpr unsigned period[2] = {30, 600};
    Db::StepT step;
    std::vector<Attribute> attributes;
    U64 updates = 0;
};

// A database and its twin; their attributes begin with another one.
struct Pair {
    Pair(Db::StepT step, unsigned long first)
        : twin{step, {}, 0} {
        std::vector<Type> rotated(std::begin(ATTRIBUTES), std::end(ATTRIBUTES));
        std::rotate(rotated.begin(), rotated.begin() + long(first), rotated.end());
        for (Type const& declaration : rotated)
            twin.attributes.push_back({declaration, {}, 0, {}});
        db.emplace("id", "area", rotated.data(), rotated.size(), step);
    }
    void Compare() {
        for (Twin::Attribute const& a : twin.attributes) {
            for (unsigned i = 0; i < 10 && a.declaration.type != Type::NONE; ++i) {
                auto const level = static_cast<unsigned char>(i / 2 == 4 ? 255 : i / 2);
                Array<Sample> read;
                Sample datum{1, Time::Span(77)};
                std::optional<Sample> const wanted = twin.Datum(a, level, i % 2, datum.time);
                ASSERT_EQ(db->GetDatum(datum, a.declaration.name, level, Tailing(i % 2)).Succeeded(),
                          wanted.has_value());
                ASSERT_EQ(datum, wanted.value_or(Sample{1, Time::Span(77)})) << a.declaration.name << i;
                if (level == 255) continue;
                ASSERT_TRUE(db->GetData(read, a.declaration.name, level, Tailing(i % 2)).Succeeded());
                ASSERT_EQ(std::vector<Sample>(read.begin(), read.end()), twin.Data(a, level, i % 2))
                    << a.declaration.name << i;
            }
        }
    }
    std::optional<Db> db;
    Twin twin;
};

TEST(RrdDb, AgreesWithASlowTwinOverRandomHistories) {
    LogCapture log;
    Clock clock;
    for (unsigned seed = 0; seed < 18; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937_64 random(seed);
        Db::StepT const step = seed % 2 ? Db::STEP_1M : Db::STEP_3S;
        Pair pairs[] = {{step, seed % 6}, {step, 0}};
        long const starts[] = {1, 10000000, (1L << 32) - 9000}; // the last one wraps the times in the rings
        Time::Span time = Tenths(starts[seed / 2 % 3]);
        for (int i = 0; i < 2500; ++i) {
            Pair& pair = pairs[i % 5 == 4];
            ValuesT values(std::size(ATTRIBUTES));
            for (U64& value : values)
                value = random() >> random() % 64;
            time += Time::Span(1 + static_cast<int>(random() % (i % 3 ? 50 : 60000)));
            ASSERT_TRUE(Update(*pair.db, time, values).Succeeded());
            pair.twin.Update(time, values);
            if (i % 600 == 599) { // with more updates on either side
                Pair& other = pairs[i % 5 != 4];
                ASSERT_TRUE(pair.db->Merge(*other.db).Succeeded());
                pair.twin.Merge(other.twin);
            }
            if (random() % 700 == 0) {
                pair.db->Reset();
                pair.twin.Reset();
            }
            if (random() % 60 != 0 && i % 600 != 599) continue;
            pairs[0].Compare();
            pairs[1].Compare();
            if (HasFatalFailure()) return;
        }
    }
}

Type const TWO[] = {{"a", 1, Type::COUNT, Db::RAISE_ON}, {"none", 1, Type::NONE, Db::RAISE_ON}};

TEST(RrdDb, RefusesWhatDoesNotFit) {
    LogCapture log;
    Clock clock;
    Db db("d", "area", TWO, 2, Db::STEP_3S);
    Db other("o", "area", TWO, 1, Db::STEP_3S);
    Type const scaled[] = {{"a", 2, Type::COUNT, Db::RAISE_OFF}, TWO[1]};
    Type const unknown[] = {{"a", 2, static_cast<Type::TypeT>(5), Db::RAISE_OFF}};
    Db odd("odd", "area", scaled, 2, Db::STEP_3S);
    EXPECT_FALSE(db.HasData());
    EXPECT_TRUE(Update(db, Time::Span::Zero(), {0, 9}).Succeeded()); // now
    EXPECT_FALSE(db.HasData() || Db("u", "", unknown, 1, Db::STEP_3S).Initialized());
    Time::Span const now = Time::Monotonic();
    EXPECT_TRUE(Update(db, now, {1, 1}).Failed() && Update(db, now + 5, {1}).Failed() && !db.HasData());
    EXPECT_TRUE(Update(db, now + 2500, {1, 1}).Succeeded() && db.HasData());
    EXPECT_EQ(db.Lifetime(), Time::Span(2500));
    Array<Sample> out;
    Sample one;
    for (unsigned char const level : {4, 254, 255}) {
        EXPECT_EQ(db.GetData(out, "a", level, Db::Modifier::Empty()), 0x83E30064u);
        EXPECT_EQ(db.GetDatum(one, "a", level, Db::Modifier::Empty()).Failed(), level != 255);
    }
    EXPECT_EQ(db.GetData(out, "none", 0, Db::Modifier::Empty()), 0x83E300C8u);
    EXPECT_EQ(db.GetDatum(one, "b", 0, Db::Modifier::Empty()), 0x83E300C8u);
    EXPECT_EQ(db.Merge(other), 0x83E303E8u);
    EXPECT_EQ(db.Merge(odd), 0x83E3044Cu);
    EXPECT_TRUE(out.Empty() && db.HasData());
    std::string const fail = "C Stats::Rrd::Db: \"d\": system failed [0xcffd****].";
    std::string const error = "E Stats::Rrd::Db: \"d\": ";
    EXPECT_EQ(
        log.Take(),
        LinesT({"C Stats::Rrd::Db: system failed [0xcffd****].", fail, fail,
                error + "detail value is out of bounds: 4.", error + "detail value is out of bounds: 4.",
                error + "detail value is out of bounds: 254.", error + "detail value is out of bounds: 254.",
                error + "detail value is out of bounds: 255.", error + "unknown attribute: b.",
                error + "different attributes count at merge.",
                error + "different attributes types at merge."}));
    // A rate without a time has no sample; all others have one.
    Db mixed("m", "area", ATTRIBUTES, 6, Db::STEP_1M);
    EXPECT_TRUE(Update(mixed, 1000, {6, 0, 0, 0, 1, 0}).Succeeded());
    EXPECT_TRUE(Update(mixed, Time::Span(Time::Span::Value(1, 900)), {7, 0, 0, 0, 2, 0}).Failed());
    Xml::Document document;
    EXPECT_TRUE(mixed.AttachLatestTo(document).Succeeded());
    EXPECT_EQ(Printed(document), "<rate>0</rate><drops>0</drops><up>0</up><heat>4</heat><fast>0</fast>");
}

TEST(RrdDb, ModifiersAreParsed) {
    LogCapture log;
    struct {
        char const* queryTs;
        char const* lastT;
        char const* lastTs;
        std::string line;
    } const rows[] = {{"", "x", "y", ""},
                      {"100", "7.5", "99.999999", ""},
                      {"-1", "-7", "-1.5", ""},
                      {"1.5", "7", "1", "invalid query-ts value: 1.5."},
                      {"9", "", "1", "invalid last-t value: ."},
                      {"9", "1", "1s", "invalid last-ts value: 1s."},
                      {"9", "1", "9", "incorrect \"last-ts\" compared to \"query-ts\"."}};
    for (auto const& [queryTs, lastT, lastTs, line] : rows) {
        Db::Modifier modifier = Tailing(true);
        modifier.SetQueryTs(5);
        ReturnT const code = Db::ParseModifiers(modifier, queryTs, lastT, lastTs);
        EXPECT_EQ(code.Succeeded() ? 0 : code.Code(), line.empty() ? 0 : 0x83E3012Cu) << queryTs;
        EXPECT_EQ(modifier.IsSetTailing(), *queryTs != 0);
        EXPECT_EQ(modifier.QueryTs(), line.empty() ? atol(queryTs) : 5);
        Time::Span time;
        (void)Time::Span::String::Parse(*queryTs && line.empty() ? lastT : "0", time);
        EXPECT_EQ(modifier.LastT(), time);
        EXPECT_EQ(log.Take(), line.empty() ? LinesT() : LinesT{"E Stats::Rrd::Db: " + line});
    }
}

std::string Row(std::string const& t, std::string const& ts, int value) {
    return "<data><t>" + t + "</t>" + (ts.empty() ? "" : "<ts>" + ts + "</ts>") + "<v>" +
           std::to_string(value) + "</v></data>";
}

TEST(RrdDb, AnswersAsDocuments) {
    Clock clock;
    clock.AdvanceNanoseconds(1000000000 - timespec(Time::Monotonic()).tv_nsec); // a whole second
    long const now = Time::Monotonic().Seconds();
    Db db("d", "area", ATTRIBUTES, 6, Db::STEP_3S);
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(Update(db, 1500 + i * 3050, {0, 0, 7u * i * i, 0, 0, 0}).Succeeded());
    struct {
        bool integer;
        unsigned char level;
        bool asks; // with a clock that is 100 s ahead
        int lastT;
        int lastTs;
        unsigned long count;
        std::string text;
    } const rows[] = {
        {false, 0, false, 99000, 0, 64,
         Row("7.600000", "", 63) + Row("4.500000", "", 21) + Row("1.500000", "", 0)},
        {false, 0, true, 99000, 50, 64,
         Row("7.600000", "107.600000", 63) + Row("4.500000", "104.500000", 21)},
        {false, 0, true, 1900, 150, 2, Row("7.600000", "107.600000", 63) + Row("4.500000", "104.500000", 21)},
        {true, 0, true, 4000, 150, 1, Row("7", "107.600000", 63)},
        {false, 0, true, 7000, 150, 0, ""},
        {false, 1, true, 2000, 150, 1, Row("61.500000", "161.500000", 84)},
    };
    for (auto const& row : rows) {
        Db::Modifier modifier = Tailing(true);
        if (row.integer) modifier.SetIntegerTime();
        if (row.asks) modifier.SetQueryTs(now + 100);
        modifier.SetLastT(row.lastT);
        modifier.SetLastTs(Time::Span(row.lastTs, 0));
        ForEveryAllocation([&](Heap& heap) {
            Xml::Document document;
            document.AllocateString(std::string(2000, 'x').c_str(), 0);
            heap.Arm();
            bool const ok = db.AttachTo(document, "drops", row.level, modifier).Succeeded() &&
                            db.AttachLatestTo(document).Succeeded();
            heap.Disarm();
            EXPECT_EQ(ok, !heap.Fired());
            if (!ok) return;
            std::string const text = Printed(document);
            EXPECT_EQ(text.substr(0, row.text.size()), row.text);
            EXPECT_EQ(std::count(text.begin(), text.end(), 'v') / 2, long(row.count)) << text;
            EXPECT_TRUE(
                text.ends_with("<rate>0</rate><drops>63</drops><up>0</up><heat>0</heat><fast>0</fast>"));
            EXPECT_EQ(text.find("<t>-181.500000</t>") != text.npos, row.count == 64);
            EXPECT_TRUE(row.count == 0 || document.FirstNode()->DataType() == Xml::Base::DATA_ARRAY);
        });
    }
    Xml::Document document;
    EXPECT_EQ(db.AttachTo(document, "none", 0, Tailing(false)), 0x83E300C8u);
    EXPECT_EQ(document.FirstNode(), nullptr);
}

TEST(RrdDb, TakesAllMemoryAtConstruction) {
    static_assert(Db::AttributeMemorySize() == 4336);
    LogCapture log;
    ForEveryAllocation([&](Heap& heap) {
        Array<Sample> out;
        log.Clear();
        heap.Arm();
        Db db("id", "area", ATTRIBUTES, 6, Db::STEP_3S);
        bool const ok = db.Initialized() && db.GetData(out, "up", 0, Tailing(false)).Succeeded();
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_EQ(log.Count("out of memory"), ok ? 0u : 1u);
        if (!ok) return;
        Array<U64> values;
        ASSERT_TRUE(values.Assign(ValuesT(6).data(), 6));
        Footprint const footprint;
        EXPECT_TRUE(db.Update(1, values).Succeeded() && db.GetData(out, "up", 3, Tailing(true)).Succeeded());
        EXPECT_EQ(footprint.Allocations(), 0u);
    });
}

struct RrdEvents : WithMainThread {
    RrdEvents() { EXPECT_TRUE(Event::Subscribe("Event::Type::Stats", delegate_)); }
    ~RrdEvents() override { Event::Unsubscribe("", this, delegate_.Ident()); }
    void On(Event::Stats const& event) {
        heard_ += std::string(event.Id().Cstr()) + event.Area().Cstr() + event.Attribute().Cstr() +
                  std::to_string(event.Value()) + " ";
    }

    Event::Delegate<RrdEvents> const delegate_{"test", this, &RrdEvents::On, nullptr};
    std::string heard_;
};

TEST_F(RrdEvents, TellChangesOfRawValues) {
    Type const declarations[] = {
        TWO[0], {"quiet", 1, Type::BOOL, Db::RAISE_OFF}, {"none", 1, Type::NONE, Db::RAISE_ON}};
    Db db("I", "A", declarations, 3, Db::STEP_3S);
    int time = 0;
    for (bool const raise : {false, true}) {
        db.SetRaise(raise ? Db::RAISE_ON : Db::RAISE_OFF);
        for (U64 const value : {1, 1, 2})
            ASSERT_TRUE(Update(db, Time::Span(++time, 0), {value, value, 0}).Succeeded());
        db.Reset();
        db.Reset();
    }
    Event::Raise(Event::Stats("", "", "end", 0), nullptr, Event::SYNC, Event::DIRECT);
    EXPECT_EQ(heard_, "IAa1 IAa2 IAa0 end0 ");
}

} // namespace
