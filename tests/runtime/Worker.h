// What most tests of this folder include, and a look at the locks of a thread.
#pragma once

#include "workbench/Calls.h"
#include "workbench/Child.h"
#include "workbench/Heap.h"
#include "workbench/TempDir.h"
#include "workbench/Threads.h"
#include "zeb/core/Time.h"
#include "zeb/runtime/StatusLog.h"

#include <atomic>
#include <csignal>
#include <thread>
#include <unistd.h>

using LinesT = LogCapture::LinesT;

// The locks of the thread of that name as "NAME STATE", the first one taken first.
inline std::string LocksOf(CString const& name, bool* complete = nullptr) {
    AutoPVector<Thread::State, StdDeleter> states;
    EXPECT_EQ(Thread::GetStates(states), 0x00220190u);
    std::string locks;
    for (unsigned long i = 0; i < states.Size(); ++i) {
        if (!(states[i]->Name() == name)) continue;
        if (complete) *complete = states[i]->LockListComplete();
        for (Thread::Lock const& lock : states[i]->Locks()) {
            locks +=
                (locks.empty() ? "" : ", ") + std::string(Mutex::PrecedenceName(lock.Precedence())) + " " + lock.State().Cstr();
            EXPECT_EQ(lock.Since().Cstr()[0] == '\0', &lock.State() == &Thread::Lock::RELEASED);
        }
    }
    return locks;
}

// Somebody polls for a lock that this thread holds, and logs that when the wait has reached 30 and 60
// seconds.
inline void ExpectWaitLines(Clock& clock, LogCapture& log, std::string const& text) {
    for (int const seconds : {31, 60}) {
        EXPECT_TRUE(clock.AwaitWaiters(1));
        clock.Advance(seconds == 31 ? 29000 : 28000);
        EXPECT_TRUE(clock.AwaitWaiters(1) && log.Take().empty());
        clock.Advance(seconds == 31 ? 2000 : 1000); // past the limit, and right to it
        EXPECT_TRUE(log.Await(text));
        EXPECT_EQ(log.Take(), LinesT{text + std::to_string(seconds) + " seconds."});
    }
}
