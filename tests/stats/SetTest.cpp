#include "zeb/stats/Set.h"

#include "tests/stats/Printed.h"
#include "tests/support/Heap.h"
#include "tests/support/LogCapture.h"
#include "zeb/stats/Cpu.h"

#include <gtest/gtest.h>

#include <climits>
#include <vector>

namespace {

using FiguresT = std::vector<unsigned long>;

FiguresT Figures(Stats::Set const& set) {
    Time::Span time;
    FiguresT out(4);
    set.Get(time, out[0], out[1], out[2], out[3]);
    EXPECT_EQ(out[3], set.Cur());
    out.push_back(static_cast<unsigned long>(time.Milliseconds()));
    return out;
}

TEST(StatsSet, FiguresAreThoseOfTheSamplesInTheRing) {
    struct {
        FiguresT samples;
        FiguresT figures; // min, max, avg, cur, time
    } const rows[] = {
        {{}, {0, 0, 0, 0, 0}},
        {{7}, {7, 7, 7, 7, 1}},
        {{5, 1}, {1, 5, 3, 1, 2}},
        {{9, 0, 4}, {0, 9, 4, 4, 3}},
        {{100, 1, 2, 6}, {1, 6, 3, 6, 4}},                        // the first one is gone
        {{0, 0, 0, 8, 9, 7, 5}, {5, 9, 7, 5, 7}},                 // twice around
        {{ULONG_MAX, 3, 1}, {1, ULONG_MAX, ULONG_MAX + 2, 1, 3}}, // means of runs are added
        {{ULONG_MAX - 1, 1, 4}, {1, ULONG_MAX - 1, ULONG_MAX / 2 + 4, 4, 3}},
    };
    Stats::Set set("load", 3);
    for (auto const& row : rows) {
        set.Clear();
        for (unsigned long i = 0; i < row.samples.size(); ++i)
            set.AddSample(row.samples[i], Time::Span(static_cast<int>(i + 1)));
        EXPECT_EQ(Figures(set), row.figures) << testing::PrintToString(row.samples);
    }
}

TEST(StatsSet, RefusesNoNameAndNoSizeAndNoMemory) {
    LogCapture log;
    for (auto const& [name, size] : {std::pair{"", 3ul}, {"x", 0ul}, {"x", ULONG_MAX / 8 + 2}}) {
        Stats::Set set(name, size);
        set.AddSample(1, Time::Span(1));
        EXPECT_FALSE(set.Initialized());
        EXPECT_EQ(Figures(set), FiguresT(5));
    }
    EXPECT_EQ(log.Take(), LogCapture::LinesT({"C Stats::Set: system failed [0xcffd****].",
                                              "C Stats::Set: system failed [0xcffd****]."}));
    ForEveryAllocation([](Heap& heap) {
        heap.Arm();
        Stats::Cpu const cpu(3);
        heap.Disarm();
        EXPECT_EQ(cpu.Initialized(), !heap.Fired());
        EXPECT_EQ(cpu.Interval(), 0);
    });
}

struct Load : Stats::Cpu {
    using Cpu::Cpu;
    using Cpu::Update_;
};

TEST(StatsCpu, ComparesReadingsWithTheOnesBefore) {
    Load load(3);
    auto const update = [&](long cpuMs, long wallMs, unsigned long count) {
        load.Update_(Time::Span(static_cast<int>(cpuMs)), Time::Span(static_cast<int>(wallMs)), count);
        EXPECT_EQ(load.LastUpdate().Milliseconds(), wallMs);
    };
    update(500, 1000, 1); // the base
    EXPECT_EQ(Figures(load), FiguresT(5));
    struct {
        long cpuMs;
        long wallMs;
        unsigned long count;
        unsigned long sample;
        long interval;
    } const rows[] = {
        {750, 2000, 1, 25, 0}, {1749, 3000, 4, 24, 1},  {1749, 4500, 4, 0, 2},
        {1749, 4501, 4, 0, 2}, {9999, 5000, 0, 0, 0},   {9000, 6000, 1, ULONG_MAX, 1},
        {9100, 5900, 1, 0, 1}, {9200, 6000, 1, 100, 0}, {9210, 7000, 1, 1, 1},
    };
    for (auto const& row : rows) {
        update(row.cpuMs, row.wallMs, row.count);
        EXPECT_EQ(load.Cur(), row.sample) << row.wallMs;
        EXPECT_EQ(load.Interval(), row.interval) << row.wallMs;
    }
    ForEveryAllocation([&](Heap& heap) {
        Xml::Document document;
        document.AllocateString(std::string(1900, 'x').c_str(), 0);
        heap.Arm();
        bool const ok = load.AttachTo(document);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        if (!ok) return;
        EXPECT_EQ(Printed(document), "<cpu><now>7.000000</now><min>0</min><max>100</max><avg>33</avg>"
                                     "<cur>1</cur></cpu>");
    });
    load.Clear();
    update(1000, 1000, 1); // the base again
    EXPECT_EQ(Figures(load), FiguresT(5));
}

} // namespace
