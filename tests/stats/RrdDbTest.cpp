#include "tests/doc/xml/Trees.h"
#include "tests/runtime/Worker.h"
#include "tests/stats/Rrd.h"
#include "zeb/core/Time.h"
#include "zeb/event/Bus.h"
#include "zeb/event/Delegate.h"
#include "zeb/event/LibraryEvents.h"

#include <algorithm>
#include <tuple>

namespace {

Sample Read(Db const& db, char const* name, unsigned level, unsigned long index = 0) {
    Array<Sample> out;
    EXPECT_TRUE(db.GetData(out, name, level, Tailing(false)).Succeeded() && out.Size() == 64);
    return out[index];
}

TEST(RrdDb, EachTypeIsConsolidatedInEachLevel) {
    struct {
        Db::StepT step;
        char const* name;
        U64 newest[4];  // sample of each level
        U64 tails[3];   // what the levels below 1, 2, 3 have gathered since
        U64 figures[3]; // of level 0; of level 2 and below; of all
    } const rows[] = {
        {Db::STEP_3S, "rate", {7632, 7444, 6964, 1924}, {7580, 14944, 20468}, {7380, 3593, 2541}},
        {Db::STEP_3S, "drops", {21, 420, 1260, 10080}, {294, 1134, 9954}, {1344, 20034, 20034}},
        {Db::STEP_3S, "up", {100, 1, 1, 1}, {35, 35, 35}, {7, 35, 35}},
        {Db::STEP_3S, "heat", {1908, 1861, 1741, 481}, {947, 1407, 1580}, {922, 1513, 1595}},
        {Db::STEP_1M, "drops", {21, 63, 630, 3276}, {42, 420, 1050}, {1344, 4200, 4326}},
        {Db::STEP_1M, "heat", {400, 394, 331, 157}, {199, 294, 335}, {168, 313, 340}}};
    for (auto const& row : rows) {
        long const period = row.step == Db::STEP_3S ? 30 : 600;
        long const updates = row.step == Db::STEP_3S ? 955 : 201;
        long const periods[][4] = {{1, 20, 60, 480}, {1, 3, 30, 156}};
        Db db("id", "", ATTRIBUTES, 5, row.step);
        for (long n = 0; n < updates; ++n) { // the rate grows by 8, drops are 21, the heat grows by 2
            U64 const up = n < 950 ? n == 1 || n == 841 || n == 921 : 100;
            ValuesT const values = {U64(period / 10 * n * (n + 1) / 2), 9, U64(7 * n), up, U64(n)};
            ASSERT_TRUE(Update(db, Tenths(period * (n + 1)), values));
        }
        SCOPED_TRACE(row.name);
        Array<Sample> out;
        for (unsigned i = 0; i < 8; ++i) {
            unsigned const level = i / 2;
            bool const tail = i % 2 != 0 && level > 0;
            long const distance = period * periods[row.step][level];
            long const newest = period + (updates - 1) * period / distance * distance;
            ASSERT_TRUE(db.GetData(out, row.name, level, Tailing(i % 2 != 0)).Succeeded());
            EXPECT_EQ(out[tail].value, row.newest[level]) << i;
            EXPECT_EQ(out[0].value, tail ? row.tails[level - 1] : row.newest[level]) << i;
            for (unsigned long k = 0; k < out.Size(); ++k)
                EXPECT_EQ(out[k].time, Tenths(newest) - Tenths(distance * (long(k) - tail))) << i << ' ' << k;
        }
        EXPECT_EQ(Read(db, "heat", 0, 63).value, U64(2 * updates - 128));
        for (unsigned i = 0; i < 3; ++i) {
            Sample figure{1, Time::Span(77)};
            EXPECT_TRUE(db.GetDatum(figure, row.name, i == 2 ? 255 : i * 2, Tailing(i == 1)).Succeeded());
            EXPECT_EQ(figure.value, row.figures[i]) << i;
            EXPECT_EQ(figure.time, i == 0 ? Time::Span(77) : Tenths(period * updates));
        }
    }
}

TEST(RrdDb, RefusesWhatDoesNotFit) {
    LogCapture log;
    Clock clock;
    Type const scaled[] = {{"a", 2, Type::COUNT, Db::RAISE_OFF}, {"n", 1, Type::NONE, Db::RAISE_OFF}};
    Type const other[] = {
        {"a", 1, Type::COUNT, Db::RAISE_OFF}, scaled[1], {"u", 1, Type::TypeT(5), Db::RAISE_OFF}};
    Db db("d", "area", other, 2, Db::STEP_3S);
    Db less("l", "area", other, 1, Db::STEP_3S);
    Db unequal("u", "area", scaled, 2, Db::STEP_3S);
    EXPECT_FALSE(Db("x", "", other, 3, Db::STEP_3S).Initialized());
    EXPECT_TRUE(Update(db, Time::Span::Zero(), {0, 9})); // now
    Time::Span const now = Time::Monotonic();
    EXPECT_FALSE(Update(db, now, {1, 1}) || Update(db, now + 5, {1}) || db.HasData());
    EXPECT_TRUE(Update(db, now + 2500, {1, 1}) && db.HasData() && db.Lifetime() == Time::Span(2500));
    Array<Sample> out;
    Sample one;
    EXPECT_EQ(db.GetData(out, "a", 4, Tailing(false)), 0x83E30064u);
    EXPECT_EQ(db.GetDatum(one, "a", 254, Tailing(true)), 0x83E30064u);
    EXPECT_EQ(db.GetData(out, "n", 0, Tailing(false)), 0x83E300C8u);
    EXPECT_EQ(db.GetDatum(one, "n", 0, Tailing(false)), 0x83E300C8u);
    EXPECT_EQ(db.Merge(less), 0x83E303E8u);
    EXPECT_EQ(db.Merge(unequal), 0x83E3044Cu);
    Db::Modifier modifier;
    char const* const times[][3] = {{"1.5", "7", "1"}, {"9", "", "1"}, {"9", "1", "1s"}, {"9", "1", "9"}};
    for (auto const& [queryTs, lastT, lastTs] : times)
        EXPECT_EQ(Db::ParseModifiers(modifier, queryTs, lastT, lastTs), 0x83E3012Cu);
    EXPECT_TRUE(Read(less, "a", 1, 63).time == Time::Monotonic() - Time::Span(63 * 60, 0)); // never updated
    EXPECT_TRUE(Update(less, Time::Span::Max(), {1}));
    // A rate without a time has no sample, all others have one; and a weighted sum may be too great.
    Db mixed("m", "area", ATTRIBUTES, 5, Db::STEP_1M);
    for (unsigned i = 0; i < 4; ++i)
        EXPECT_TRUE(Update(mixed, Time::Span(1000 + int(i)), {i * (~0ull / 8000), 0, 0, 0, 1}));
    EXPECT_FALSE(Update(mixed, Time::Span(Time::Span::Value(1, 3900)), {7, 0, 0, 0, 2}));
    EXPECT_TRUE(Read(mixed, "heat", 0).value == 4 && Read(mixed, "rate", 0).value > 1ull << 63);
    EXPECT_TRUE(mixed.GetDatum(one, "rate", 1, Tailing(true)).Failed() && one.value == 0);
    std::string const error = "E Stats::Rrd::Db: \"d\": ";
    std::string const fail = "C Stats::Rrd::Db: \"d\": system failed [0xcffd****].";
    EXPECT_THAT(
        log.Take(),
        testing::ElementsAre(
            "C Stats::Rrd::Db: \"x\": system failed [0xcffd****].", fail, fail,
            error + "detail value is out of bounds: 4.", error + "detail value is out of bounds: 254.",
            error + "unknown attribute: n.", error + "different attributes count at merge.",
            error + "different attributes types at merge.", "E Stats::Rrd::Db: invalid query-ts value: 1.5.",
            "E Stats::Rrd::Db: invalid last-t value: .", "E Stats::Rrd::Db: invalid last-ts value: 1s.",
            "E Stats::Rrd::Db: incorrect \"last-ts\" compared to \"query-ts\".",
            "C Stats::Rrd::Db: \"rate\": system failed [0xcffd****].",
            "C Stats::Rrd::Db: \"rate\": system failed [0xcffd****]."));
}

TEST(RrdDb, AnswersAsDocuments) {
    Clock clock;
    clock.AdvanceNanoseconds(1000000000 - timespec(Time::Monotonic()).tv_nsec);    // a whole second
    std::string const queryTs = std::to_string(Time::Monotonic().Seconds() + 100); // the client is ahead
    Db db("d", "area", ATTRIBUTES, 5, Db::STEP_3S);
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(Update(db, 1500 + i * 3050, {0, 0, 7u * i * i, 0, 0}));
    std::string const both = "<data><t>7.600000</t><ts>107.600000</ts><v>63</v></data>"
                             "<data><t>4.500000</t><ts>104.500000</ts><v>21</v></data>";
    // Level, or 4 for whole seconds; whether the query has times: last-t and last-ts; samples and their text.
    std::tuple<unsigned, bool, char const*, char const*, long, std::string> const rows[] = {
        {0, false, "", "", 64, "<data><t>7.600000</t><v>63</v></data><data><t>4.500000</t><v>21</v></data>"},
        {0, true, "99", "99", 64, both},
        {0, true, "1.9", "100", 2, both},
        {4, true, "4.5", "100", 1, "<data><t>7</t><ts>107.600000</ts><v>63</v></data>"},
        {0, true, "7", "150", 0, ""},
        {1, true, "2", "150", 1, "<data><t>61.500000</t><ts>161.500000</ts><v>84</v></data>"},
    };
    for (auto const& [level, hasTimes, lastT, lastTs, count, text] : rows) {
        Db::Modifier modifier = Tailing(true);
        EXPECT_TRUE(Db::ParseModifiers(modifier, hasTimes ? queryTs.c_str() : "", lastT, lastTs).Succeeded());
        EXPECT_EQ(modifier.IsSetTailing(), hasTimes);
        if (level == 4) modifier.SetIntegerTime();
        ForEveryAllocation([&](Heap& heap) {
            Document document;
            document.AllocateString(std::string(2000, 'x').c_str(), 0);
            heap.Arm();
            bool const ok = db.AttachTo(document, "drops", level % 4, modifier).Succeeded() &&
                            db.AttachLatestTo(document).Succeeded();
            heap.Disarm();
            EXPECT_EQ(ok, !heap.Fired());
            if (!ok) return;
            std::string const printed = Printed(document);
            EXPECT_TRUE(printed.starts_with(text) && std::ranges::count(printed, 'v') / 2 == count)
                << printed;
            EXPECT_TRUE(printed.ends_with("<rate>0</rate><drops>63</drops><up>0</up><heat>0</heat>"));
            EXPECT_EQ(printed.find("<t>-181.500000</t>") != printed.npos, count == 64);
        });
    }
}

TEST(RrdDb, TakesAllMemoryAtConstruction) {
    static_assert(Db::AttributeMemorySize() == 4336);
    ForEveryAllocation([&](Heap& heap) {
        Array<Sample> out;
        Array<U64> values;
        ASSERT_TRUE(values.Assign(ValuesT(5).data(), 5));
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
        heard_ += std::string(event.Id().Cstr()) + event.Area().Cstr() + event.Attribute().Cstr() +
                  std::to_string(event.Value()) + " ";
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
        for (U64 const value : {1, 1, 2})
            ASSERT_TRUE(Update(db, Time::Span(++time, 0), {value, 0, value}));
        db.Reset();
        db.Reset();
    }
    Event::Raise(Event::Stats("", "", "end", 0), nullptr, Event::SYNC, Event::DIRECT);
    EXPECT_EQ(heard_, "IAdrops1 IAdrops2 IAdrops0 end0 ");
    Array<Sample> out; // a failure without a message is found in the status all the same
    EXPECT_TRUE(db.GetData(out, "none", 0, Tailing(false)).Failed());
    EXPECT_EQ(Thread::SelfStatus()->Code(), 0x83E300C8u);
    Event::Unsubscribe("", this, delegate_.Ident());
}

} // namespace
