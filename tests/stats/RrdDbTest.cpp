#include "zeb/stats/RrdDb.h"

#include "tests/doc/xml/Trees.h"
#include "tests/runtime/Worker.h"
#include "zeb/event/Bus.h"
#include "zeb/event/Delegate.h"
#include "zeb/event/LibraryEvents.h"

#include <algorithm>
#include <tuple>
#include <vector>

namespace {

using Stats::Rrd::Db, Stats::Rrd::Sample;
using Type = Db::Attribute;
using U64 = unsigned long long;
using ValuesT = std::vector<U64>;

// clang-format off
Type const ATTRIBUTES[] = {{"rate", 8, Type::SPEED, Db::RAISE_OFF}, {"none", 1, Type::NONE, Db::RAISE_ON},
                           {"drops", 3, Type::COUNT, Db::RAISE_ON}, {"up", 5, Type::BOOL, Db::RAISE_OFF},
                           {"heat", 2, Type::GAUGE, Db::RAISE_OFF}};
// clang-format on

Db::Modifier Tailing(bool tail) {
    Db::Modifier modifier;
    if (tail) modifier.SetTailing();
    return modifier;
}
Array<U64> Values(ValuesT const& values) {
    Array<U64> array;
    EXPECT_TRUE(array.Assign(values.data(), values.size()));
    return array;
}
Time::Span Tenths(long tenths) { return Time::Span(Time::Span::Value(tenths / 10, tenths % 10 * 100000)); }
bool Update(Db& db, Time::Span const& time, ValuesT const& values) { return db.Update(time, Values(values)).Succeeded(); }

using SamplesT = std::vector<Sample>;

SamplesT Read(Db const& db, char const* name, unsigned char level, bool tail = false) {
    Array<Sample> out;
    EXPECT_TRUE(db.GetData(out, name, level, Tailing(tail)).Succeeded() && out.Size() == 64) << name;
    return {out.begin(), out.end()};
}

// The newest samples of a level: "value@tenths value@tenths ..."
std::string Shown(Db const& db, char const* name, unsigned char level, unsigned long count = 3) {
    std::string text;
    SamplesT samples = Read(db, name, level);
    samples.resize(count);
    for (auto const& [value, time] : samples)
        text += (value == ~0ull ? "MOST" : std::to_string(value)) + "@" + std::to_string(time.Milliseconds() / 100) + " ";
    return text;
}

// The lines, without what all have in common.
std::string Said(LogCapture& log) {
    std::string text;
    for (std::string line : log.Take()) {
        for (std::string const common : {"Stats::Rrd::Db: ", "system failed "})
            if (auto const at = line.find(common); at != line.npos) line.erase(at, common.size());
        text += line + " ";
    }
    return text;
}

TEST(RrdDb, EachTypeIsConsolidatedInEachLevel) {
    struct {
        Db::StepT step;
        char const* name;
        U64 newest[4];  // sample of each level
        U64 tails[3];   // what the levels below 1, 2, 3 have gathered since
        U64 figures[3]; // of level 0; of level 2 and below; of all
        // clang-format off
    } const rows[] = {
        {Db::STEP_3S, "rate", {7632, 7444, 6964, 1924}, {7580, 14944, 20468}, {7380, 3593, 2541}},
        {Db::STEP_3S, "drops", {21, 420, 1260, 10080}, {294, 1134, 9954}, {1344, 20034, 20034}},
        {Db::STEP_3S, "up", {100, 1, 1, 1}, {35, 35, 35}, {7, 35, 35}},
        {Db::STEP_3S, "heat", {1908, 1861, 1741, 481}, {947, 1407, 1580}, {922, 1513, 1595}},
        {Db::STEP_1M, "drops", {21, 63, 630, 3276}, {42, 420, 1050}, {1344, 4200, 4326}},
        {Db::STEP_1M, "heat", {400, 394, 331, 157}, {199, 294, 335}, {168, 313, 340}}};
    // clang-format on
    for (auto const& row : rows) {
        SCOPED_TRACE(row.name);
        long const period = row.step == Db::STEP_3S ? 30 : 600, updates = row.step == Db::STEP_3S ? 955 : 201;
        long const periods[][4] = {{1, 20, 60, 480}, {1, 3, 30, 156}};
        Db db("id", "", ATTRIBUTES, 5, row.step);
        for (long n = 0; n < updates; ++n) { // the rate grows by 8, drops are 21, the heat grows by 2
            U64 const up = n < 950 ? n == 1 || n == 841 || n == 921 : 100, bytes = U64(period / 10 * n * (n + 1) / 2);
            ASSERT_TRUE(Update(db, Tenths(period * (n + 1)), {bytes, 9, U64(7 * n), up, U64(n)}));
        }
        for (unsigned i = 0; i < 8; ++i) {
            bool const tail = i % 2 != 0 && i > 1;
            long const distance = period * periods[row.step][i / 2];
            long const newest = period + (updates - 1) * period / distance * distance;
            SamplesT const samples = Read(db, row.name, i / 2, i % 2 != 0);
            EXPECT_EQ(std::pair(samples[tail].value, samples[0].value),
                      std::pair(row.newest[i / 2], tail ? row.tails[i / 2 - 1] : row.newest[i / 2]))
                << i;
            for (unsigned long k = 0; k < samples.size(); ++k)
                EXPECT_EQ(samples[k].time, Tenths(newest - distance * (long(k) - tail))) << i << ' ' << k;
        }
        EXPECT_EQ(Read(db, "heat", 0)[63].value, U64(2 * updates - 128));
        for (unsigned i = 0; i < 3; ++i) {
            Sample figure{1, Time::Span(77)};
            EXPECT_TRUE(db.GetDatum(figure, row.name, i == 2 ? 255 : i * 2, Tailing(i == 1)).Succeeded());
            EXPECT_TRUE(figure.value == row.figures[i] && figure.time == (i ? Tenths(period * updates) : Time::Span(77))) << i;
        }
    }
}

// Databases that declare the same in another order, fed with raw values that are equal for all attributes.
TEST(RrdDb, AddsTheHistoryOfAnother) {
    auto constexpr OFF = Db::RAISE_OFF;
    Type const forth[] = {{"c", 1, Type::COUNT, OFF}, {"b", 1, Type::BOOL, OFF}, {"g", 1, Type::GAUGE, OFF}};
    Type const back[] = {forth[2], forth[1], forth[0]};
    // What either gets each 60 s, from 60 s on and, in tenths, from there on; c, b, g and then, both having gone on,
    // level 1 of g.
    // clang-format off
    std::tuple<ValuesT, ValuesT, long, char const*> const rows[] = {
        {{1, 3, 6, 10}, {100, 200}, 605,
         "104@1205 103@605 2@1200 | 1@1205 1@605 3@1200 | 210@1205 106@605 3@1200 | 30@7200 106@605 1@600 | "},
        {{1, 3}, {100, 200, 300, 400}, 605,
         "102@1200 101@600 100@1205 | 1@1200 1@600 200@1205 | 403@1200 301@600 200@1205 | 30@7200 301@600 100@605 | "},
        {{}, {100, 201}, 605,
         "101@1205 100@605 0@5 | 201@1205 100@605 0@5 | 201@1205 100@605 0@5 | 87@6600 100@605 0@-1195 | "},
        {{~0ull, 0}, {3}, 0, // the time 0 does not count
         "4@1200 MOST@600 0@0 | 1@1200 MOST@600 0@0 | 3@1200 MOST@600 0@0 | 21@6600 MOST@600 0@-1200 | "},
        {{5}, {~0ull}, 0, "MOST@600 0@0 0@-600 | 1@600 0@0 0@-600 | MOST@600 0@0 0@-600 | 30@7200 MOST@600 0@-1200 | "},
    };
    // clang-format on
    for (auto const& [ownValues, otherValues, start, expected] : rows) {
        Db own("own", "", forth, 3, Db::STEP_1M), other("other", "", back, 3, Db::STEP_1M);
        auto const feed = [](Db& db, ValuesT const& values, long from) {
            for (unsigned i = 0; i < values.size(); ++i)
                EXPECT_TRUE(Update(db, Tenths(from + i * 600) + Time::Span(1), ValuesT(3, values[i]))) << from;
        };
        feed(own, ownValues, 600), feed(other, otherValues, start);
        EXPECT_TRUE(own.Merge(other).Succeeded() && !other.HasData() && other.Lifetime().IsZero());
        std::string shown;
        for (Type const& attribute : forth) shown += Shown(own, attribute.name, 0) + "| ";
        feed(own, {30, 30, 30}, 6000), feed(other, {7}, 1); // one of the three makes a sample of level 1
        EXPECT_EQ(shown + Shown(own, "g", 1) + "| ", expected);
        EXPECT_EQ(Shown(other, "c", 1), "7@1 0@-1799 0@-3599 ");
    }
}

TEST(RrdDb, CountsFromWhatItWasPrimedWith) {
    LogCapture log;
    Db db("d", "area", ATTRIBUTES, 5, Db::STEP_3S);
    auto const prime = [&db](long tenths, ValuesT const& values) { return db.Prime(Tenths(tenths), Values(values)).Succeeded(); };
    auto const shown = [&db] { return Shown(db, "rate", 0, 1) + Shown(db, "drops", 0, 1) + Shown(db, "up", 0, 1); };
    EXPECT_TRUE(prime(10, {3000, 0, 50, 4, 7}) && !db.HasData());
    EXPECT_FALSE(prime(10, ValuesT(5)) || prime(11, {1}) || Update(db, Tenths(10), ValuesT(5)));
    ASSERT_TRUE(Update(db, Tenths(30), {4000, 0, 52, 4, 7}));
    EXPECT_EQ(shown(), "4000@30 6@30 4@30 ") << "growths of 1000 in 2 s, and of 2";
    EXPECT_EQ(db.Lifetime(), Tenths(20));
    U64 const wrapped = 0xFFFFFFF8 - (1ull << 32); // one of 32 bits has wrapped, the first has restarted
    uint32_t const primed[] = {db.Prime("rate", 0).Code() >> 16, db.Prime("drops", wrapped).Code() >> 16,
                               db.Prime("up", 9).Code() >> 16, db.Prime("none", 0).Code() >> 16, db.Prime("x", 0).Code() >> 16};
    EXPECT_THAT(primed, testing::ElementsAre(0x0FFF, 0x0FFF, 0x0FFF, 0x83E3, 0x83E3));
    ASSERT_TRUE(Update(db, Tenths(60), {900, 0, 2, 4, 7}));
    EXPECT_EQ(shown(), "2400@60 30@60 4@60 ");
    db.Reset();
    ASSERT_TRUE(Update(db, Tenths((1L << 32) + 100), {900, 0, 2, 4, 7})); // the whole counter again, in all levels
    EXPECT_EQ(Shown(db, "drops", 3, 2) + Shown(db, "drops", 0, 1), "6@100 0@-14300 6@100 ");
    for (Db::StepT const step : {Db::STEP_3S, Db::STEP_1M}) { // the first growth counts for one step
        Db fresh("f", "", ATTRIBUTES, 5, step);
        EXPECT_TRUE(Update(fresh, Tenths(30), ValuesT(5, 900)));
        EXPECT_EQ(Shown(fresh, "rate", 0, 1), step == Db::STEP_3S ? "2400@30 " : "120@30 ");
    }
    std::string const fail = "C \"d\": [0xcffd****]. ", unknown = "E \"d\": unknown attribute: ";
    EXPECT_EQ(Said(log), fail + fail + fail + unknown + "none. " + unknown + "x. ");
}

TEST(RrdDb, RefusesWhatDoesNotFit) {
    LogCapture log;
    Clock clock;
    auto constexpr OFF = Db::RAISE_OFF;
    Type const own[] = {{"a", 1, Type::COUNT, OFF}, {"n", 1, Type::NONE, OFF}, {"u", 1, Type::TypeT(5), OFF}};
    Type const alike[] = {{"a", 2, Type::COUNT, OFF}, {"a", 1, Type::GAUGE, OFF}, {"A", 1, Type::COUNT, OFF}, own[0]};
    Db db("d", "area", own, 2, Db::STEP_3S), less("l", "", own, 1, Db::STEP_3S), slow("s", "", own, 2, Db::STEP_1M);
    EXPECT_FALSE(Db("x", "", own, 3, Db::STEP_3S).Initialized());
    EXPECT_TRUE(Update(db, Time::Span::Zero(), {0, 9})); // now
    Time::Span const now = Time::Monotonic();
    EXPECT_FALSE(Update(db, now, {1, 1}) || Update(db, now + 5, {1}) || db.HasData());
    EXPECT_TRUE(Update(db, now + 2500, {1, 1}) && db.HasData());
    EXPECT_EQ(db.Lifetime(), Time::Span(2500));
    Array<Sample> out;
    Sample one;
    Document document;
    std::vector<ReturnT> codes = {db.AttachTo(document, "n", 0, Tailing(false)), db.GetData(out, "a", 4, Tailing(false)),
                                  db.GetDatum(one, "a", 254, Tailing(true)), db.GetData(out, "n", 0, Tailing(false)),
                                  db.GetDatum(one, "n", 0, Tailing(false))};
    for (Type const& attribute : alike) {
        Type const declarations[] = {attribute, own[&attribute == &alike[3] ? 0 : 1]};
        Db other("o", "area", declarations, 2, Db::STEP_3S);
        codes.push_back(db.Merge(other));
    }
    codes.insert(codes.end(), {db.Merge(less), db.Merge(slow), db.Merge(db).Code() >> 16});
    Db::Modifier modifier;
    char const* const times[][3] = {{"1.5", "7", "1"}, {"9", "", "1"}, {"9", "1", "1s"}, {"9", "1", "9"}};
    for (auto const& [queryTs, lastT, lastTs] : times) codes.push_back(Db::ParseModifiers(modifier, queryTs, lastT, lastTs));
    // clang-format off
    ReturnT const expected[] = {0x83E300C8, 0x83E30064, 0x83E30064, 0x83E300C8, 0x83E300C8, 0x83E3044C, 0x83E3044C, 0x83E3044C,
                                0x83E3044C, 0x83E303E8, 0x83E304B0, 0xCFFD, 0x83E3012C, 0x83E3012C, 0x83E3012C, 0x83E3012C};
    // clang-format on
    EXPECT_THAT(codes, testing::ElementsAreArray(expected));
    EXPECT_TRUE(db.HasData() && document.FirstNode() == nullptr);
    EXPECT_EQ(Read(less, "a", 1)[63].time, Time::Monotonic() - Time::Span(63 * 60, 0)); // never updated
    EXPECT_TRUE(Update(less, Time::Span::Max(), {1}));
    // A rate without a time has no sample, all others have one; and a weighted sum may be too great.
    Db mixed("m", "area", ATTRIBUTES, 5, Db::STEP_1M);
    for (unsigned i = 0; i < 4; ++i) EXPECT_TRUE(Update(mixed, Time::Span(1000 + int(i)), {i * (~0ull / 8000), 0, 0, 0, 1}));
    EXPECT_FALSE(Update(mixed, Time::Span(Time::Span::Value(1, 3900)), {7, 0, 0, 0, 2}));
    EXPECT_EQ(Shown(mixed, "heat", 0, 1) + Shown(mixed, "rate", 0, 1), "4@10 18446744073709544000@10 ");
    EXPECT_TRUE(mixed.GetDatum(one, "rate", 1, Tailing(true)).Failed() && one.value == 0);
    std::string const fail = ": [0xcffd****]. ", error = "E \"d\": ", types = error + "different attributes types at merge. ";
    EXPECT_EQ(Said(log), "C \"x\"" + fail + "C \"d\"" + fail + "C \"d\"" + fail + error + "detail value is out of bounds: 4. " +
                             error + "detail value is out of bounds: 254. " + error + "unknown attribute: n. " + types + types +
                             types + types + error + "different attributes count at merge. " + error +
                             "unaligned timings of attributes. C \"d\"" + fail +
                             "E invalid query-ts value: 1.5. E invalid last-t value: . E invalid last-ts value: 1s. "
                             "E incorrect \"last-ts\" compared to \"query-ts\". C \"rate\"" +
                             fail + "C \"rate\"" + fail);
}

TEST(RrdDb, AnswersAsDocuments) {
    Clock clock;
    timespec const now = Time::Monotonic(); // it becomes 1 s: the machine has just come up
    clock.AdvanceNanoseconds((1 - now.tv_sec) * 1000000000 - now.tv_nsec);
    std::string const queryTs = "101"; // the client is ahead
    Db db("d", "area", ATTRIBUTES, 5, Db::STEP_3S);
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(Update(db, 1500 + i * 3050, {0, 0, 7u * i * i, 0, 0}));
    std::string const both = "<data><t>7.600000</t><ts>107.600000</ts><v>63</v></data>"
                             "<data><t>4.500000</t><ts>104.500000</ts><v>21</v></data>";
    // Level, or 4 for whole seconds; whether the query has times: last-t and last-ts; samples and their text.
    // clang-format off
    std::tuple<unsigned, bool, char const*, char const*, long, std::string> const rows[] = {
        {0, false, "", "", 64, "<data><t>7.600000</t><v>63</v></data><data><t>4.500000</t><v>21</v></data>"},
        {0, true, "99", "99", 64, both}, {0, true, "1.9", "100", 2, both}, {0, true, "7", "100.5", 0, ""},
        {4, true, "4.5", "100", 1, "<data><t>7</t><ts>107.600000</ts><v>63</v></data>"},
        {1, true, "2", "100.5", 1, "<data><t>61.500000</t><ts>161.500000</ts><v>84</v></data>"},
    };
    // clang-format on
    for (auto const& [level, hasTimes, lastT, lastTs, count, text] : rows) {
        Db::Modifier modifier = Tailing(true);
        EXPECT_TRUE(Db::ParseModifiers(modifier, hasTimes ? queryTs.c_str() : "", lastT, lastTs).Succeeded());
        EXPECT_EQ(modifier.IsSetTailing(), hasTimes);
        if (level == 4) modifier.SetIntegerTime();
        ForEveryAllocation([&, level = level, count = count, text = text](Heap& heap) {
            Document document;
            document.AllocateString(std::string(2000, 'x').c_str(), 0);
            heap.Arm();
            bool const ok =
                db.AttachTo(document, "drops", level % 4, modifier).Succeeded() && db.AttachLatestTo(document).Succeeded();
            heap.Disarm();
            EXPECT_EQ(ok, !heap.Fired());
            if (!ok) return;
            std::string const printed = XmlText(document), end = "<rate>0</rate><drops>63</drops><up>0</up><heat>0</heat>";
            EXPECT_TRUE(printed.starts_with(text) && printed.ends_with(end)) << printed;
            EXPECT_EQ(std::ranges::count(printed, 'v') / 2, count) << printed;
            EXPECT_EQ(printed.find("<t>-181.500000</t>") != printed.npos, count == 64);
        });
    }
}

TEST(RrdDb, TakesAllMemoryAtConstruction) {
    static_assert(Db::AttributeMemorySize() == 4336);
    ForEveryAllocation([&](Heap& heap) {
        Array<Sample> out;
        Array<U64> const values = Values(ValuesT(5));
        heap.Arm();
        Db db("id", "area", ATTRIBUTES, 5, Db::STEP_3S);
        bool const ok = db.Initialized() && db.GetData(out, "up", 0, Tailing(false)).Succeeded();
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        if (!ok) return;
        Footprint const footprint;
        EXPECT_TRUE(db.Update(1, values).Succeeded() && db.GetData(out, "up", 3, Tailing(true)).Succeeded());
        EXPECT_EQ(footprint.Allocations(), 0u);
    });
}

struct RrdEvents : WithMainThread {
    void On(Event::Stats const& event) {
        heard_ += Text(event.Id()) + Text(event.Area()) + Text(event.Attribute()) + std::to_string(event.Value()) + " ";
    }
    Event::Delegate<RrdEvents> const delegate_{"test", this, &RrdEvents::On, nullptr};
    std::string heard_;
};

TEST_F(RrdEvents, TellChangesOfRawValues) {
    EXPECT_TRUE(Event::Subscribe("Event::Type::Stats", delegate_));
    Array<Type> attributes;
    ASSERT_TRUE(attributes.Assign(ATTRIBUTES, 3));
    Db db("I", "A", attributes, Db::STEP_3S);
    int time = 0;
    for (Db::RaiseT const raise : {Db::RAISE_OFF, Db::RAISE_ON}) {
        db.SetRaise(raise);
        for (U64 const value : {1, 1, 2}) ASSERT_TRUE(Update(db, Time::Span(++time, 0), {value, 0, value}));
        db.Reset(), db.Reset();
    }
    (void)Event::Raise(Event::Stats("", "", "end", 0), nullptr, Event::SYNC, Event::DIRECT);
    EXPECT_EQ(heard_, "IAdrops1 IAdrops2 IAdrops0 end0 ");
    Array<Sample> out; // a failure without a message is found in the status all the same
    EXPECT_TRUE(db.GetData(out, "none", 0, Tailing(false)).Failed());
    EXPECT_EQ(Thread::SelfStatus()->Code(), 0x83E300C8u);
    Event::Unsubscribe("", this, delegate_.Ident());
}

} // namespace
