#pragma once

// The state file: the newest sample as text, replaced as a whole. However often it is asked for, it is
// written once in a period, on the thread of a task queue, and once more at the end.

#include "Config.h"
#include "Telemetry.h"

#include "zeb/core/ReturnT.h"
#include "zeb/runtime/Mutex.h"
#include "zeb/task/TaskApply.h"

class StateFile : public Task::ApplyBase {
public:
    static constexpr char const IDENT[] = "StateFile";

    StateFile(Config const& config, Telemetry& telemetry, Task::Queue& queue)
        : ApplyBase(IDENT, queue, mutex_, APPLY_EARLIEST, RUN_UNLOCKED)
        , config_(config)
        , telemetry_(telemetry) {}

    // Removes what a writer left that was killed, and writes a first file. Reported when it cannot be
    // written.
    ReturnT Start();

    // Within the period.
    void Request();

    // No request runs any more; what they asked for is written.
    void Stop();

private:
    void Apply_() override;
    bool Write_() const;

    Mutex mutex_{Mutex::TASK_QUEUE_OWNER};
    Config const& config_;
    Telemetry& telemetry_;
};
