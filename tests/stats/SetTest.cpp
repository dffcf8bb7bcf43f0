#include "zeb/stats/Set.h"

#include "tests/doc/xml/Trees.h"
#include "zeb/stats/Cpu.h"

#include <climits>
#include <vector>

namespace {

using FiguresT = std::vector<unsigned long>;

FiguresT Figures(Stats::Set const& set) {
    Time::Span time;
    FiguresT out(4);
    set.Get(time, out[0], out[1], out[2], out[3]);
    out.push_back(static_cast<unsigned long>(time.Milliseconds()));
    return out;
}

TEST(StatsSet, FiguresAreThoseOfTheSamplesInTheRing) {
    // clang-format off
    std::pair<FiguresT, FiguresT> const rows[] = { // samples at 1, 2, 3 ... ms; min, max, avg, cur, time
        {{}, {0, 0, 0, 0, 0}}, {{5, 1}, {1, 5, 3, 1, 2}}, {{100, 1, 2, 6}, {1, 6, 3, 6, 4}}, // the first one is gone
        {{ULONG_MAX, 3, 1}, {1, ULONG_MAX, ULONG_MAX + 2, 1, 3}},                            // means of runs are added
        {{ULONG_MAX - 1, 1, 4}, {1, ULONG_MAX - 1, ULONG_MAX / 2 + 4, 4, 3}}};
    // clang-format on
    Stats::Set set("load", 3);
    for (auto const& [samples, figures] : rows) {
        for (unsigned long i = 0; i < samples.size(); ++i) set.AddSample(samples[i], Time::Span(static_cast<int>(i + 1)));
        EXPECT_EQ(Figures(set), figures) << testing::PrintToString(samples);
        set.Clear();
    }
    LogCapture log;
    for (auto const& [name, size] : {std::pair{"", 3ul}, {"x", 0ul}, {"x", ULONG_MAX / 8 + 2}}) {
        Stats::Set none(name, size);
        none.AddSample(1, Time::Span(1));
        EXPECT_FALSE(none.Initialized());
        EXPECT_EQ(Figures(none), FiguresT(5));
    }
    EXPECT_EQ(log.Take(), LogCapture::LinesT(2, "C Stats::Set: system failed [0xcffd****]."));
}

TEST(StatsCpu, ComparesReadingsWithTheOnesBefore) {
    // clang-format off
    int const rows[][5] = { // processor ms, wall ms, processors; sample, interval
        {500, 1000, 1, 0, 0},  {750, 2000, 1, 25, 0},  {1749, 3000, 4, 24, 1}, {1749, 4500, 4, 0, 2},   {1749, 4501, 4, 0, 2},
        {9999, 5000, 0, 0, 0}, {9000, 6000, 1, -1, 1}, {9100, 5900, 1, 0, 1},  {10100, 6000, 1, 1000, 0}, {10110, 7000, 1, 1, 1}};
    // clang-format on
    ForEveryAllocation([&](Heap& heap) {
        Document document;
        document.AllocateString(std::string(1900, 'x').c_str(), 0);
        heap.Arm();
        Stats::Cpu load(3);
        for (auto const& [cpu, wall, count, sample, interval] : rows) {
            load.Update_(cpu, wall, unsigned(count));
            EXPECT_TRUE(!load.Initialized() || (long(load.Cur()) == sample && load.Interval() == interval)) << wall;
        }
        bool const ok = load.Initialized() && load.AttachTo(document);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        char const* const text = "<cpu><now>7.000000</now><min>0</min><max>1000</max><avg>333</avg><cur>1</cur></cpu>";
        EXPECT_EQ(ok ? XmlText(document) : text, text);
        load.Clear();
        load.Update_(1, 1, 1); // a base, no sample
        EXPECT_EQ(Figures(load), FiguresT(5));
    });
}

} // namespace
