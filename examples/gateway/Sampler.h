#pragma once

// Samples the machine, each period, on the thread of the timers: keeps the newest sample, asks for the state
// file to be written, and has the changes of the links told.

#include "Config.h"
#include "Links.h"
#include "StateFile.h"
#include "Telemetry.h"

#include "zeb/timer/Timer.h"

class Sampler {
public:
    Sampler(Config const& config, CString const& root, Telemetry& telemetry, StateFile& stateFile)
        : config_(config)
        , root_(root)
        , telemetry_(telemetry)
        , stateFile_(stateFile) {}
    ~Sampler() { Stop(); }

    // Takes the first sample before it returns. False if there is no timer.
    bool Start();

    // No sample is taken any more.
    void Stop() { timer_.Cancel(); }

private:
    void OnTimer_();

    Config const& config_;
    CString root_;
    Telemetry& telemetry_;
    StateFile& stateFile_;

    // The timer runs one call at a time.
    Sample sample_;
    Links links_;
    Timer<Sampler> const timer_{"Sampler", this, &Sampler::OnTimer_, nullptr};
};
