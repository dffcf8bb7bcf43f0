#pragma once

// The two threads of the gateway. Both end within a third of a second when they are stopped.

#include "Config.h"
#include "Telemetry.h"

#include "zeb/runtime/Thread.h"

// Samples the machine, each period.
class Sampler : public Thread {
public:
    Sampler(Config const& config, CString const& root, Telemetry& telemetry)
        : Thread("Sampler")
        , config_(config)
        , root_(root)
        , telemetry_(telemetry) {}

    ReturnT Run() override;

private:
    Config const& config_;
    CString root_;
    Telemetry& telemetry_;
};

// Replaces the state file by one with the newest sample, each period and once at the end.
class StateWriter : public Thread {
public:
    StateWriter(Config const& config, Telemetry& telemetry)
        : Thread("State writer")
        , config_(config)
        , telemetry_(telemetry) {}

    // Removes what a writer left that was killed. A state file that cannot be written fails the start.
    ReturnT Initialize() override;
    ReturnT Run() override;

private:
    static constexpr char const IDENT[] = "StateWriter";

    bool Write_() const;

    Config const& config_;
    Telemetry& telemetry_;
};
