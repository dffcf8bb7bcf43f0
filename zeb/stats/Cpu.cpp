#include "zeb/stats/Cpu.h"

#include <climits>

namespace Stats {

namespace {

constexpr char const NAME[] = "cpu";
constexpr long ROUND_UP_FROM = 500001; // microseconds
constexpr unsigned PERCENT = 100;

// Wide enough for every span in microseconds, a hundred times.
using WideT = unsigned __int128;

WideT Microseconds_(Time::Span const& from, Time::Span const& to) {
    Time::Span span = to - from;
    if (span < Time::Span::Zero()) span += Time::Span::Max();
    Time::Span::Value const& parts = span.Parts();
    return parts.IsNegative() ? 0
                              : WideT(static_cast<unsigned long>(parts.Seconds())) * 1000000 +
                                    static_cast<unsigned long>(parts.Microseconds());
}

} // namespace

Cpu::Cpu(unsigned long size)
    : Set(NAME, size) {
    if (Set::Initialized()) (void)times_.Allocate(size); // Initialized() tells
}

Cpu::~Cpu() = default;

bool Cpu::Initialized() const { return Set::Initialized() && times_.Size() != 0; }

void Cpu::Clear() {
    Set::Clear();
    lastCpuTime_ = Time::Span::Zero();
    lastWallTime_ = Time::Span::Zero();
    times_.Reset();
    nextTime_ = 0;
    lastTime_ = 0;
    timesFull_ = false;
}

long Cpu::Interval() const {
    if (times_.Size() == 0) return 0;
    Time::Span const& oldest = times_[timesFull_ ? nextTime_ : 0];
    return (times_[lastTime_] - oldest).Parts().Rounded(ROUND_UP_FROM);
}

void Cpu::Update_(Time::Span const& cpuTime, Time::Span const& wallTime, unsigned long cpuCount) {
    if (!lastWallTime_.IsZero()) {
        WideT const busy = Microseconds_(lastCpuTime_, cpuTime);
        WideT const wall = Microseconds_(lastWallTime_, wallTime);
        WideT const load = wall == 0 || cpuCount == 0 ? 0 : busy * PERCENT / wall / cpuCount;
        AddSample(load > ULONG_MAX ? ULONG_MAX : static_cast<unsigned long>(load), wallTime);
        AddTime_(wallTime);
    }
    lastCpuTime_ = cpuTime;
    lastWallTime_ = wallTime;
}

void Cpu::AddTime_(Time::Span const& time) {
    if (times_.Size() == 0) return;
    lastTime_ = nextTime_;
    times_[lastTime_] = time;
    nextTime_ = lastTime_ + 1 == times_.Size() ? 0 : lastTime_ + 1;
    if (nextTime_ == 0) timesFull_ = true;
}

} // namespace Stats
