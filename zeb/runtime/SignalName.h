#pragma once

// SignalName: the words for a signal number, "segmentation fault". Allocates nothing, so a signal handler may
// use it.

#include "zeb/core/Export.h"

class ZEB_PUBLIC SignalName {
public:
    explicit SignalName(int signal);
    SignalName(SignalName const&) = delete;
    SignalName& operator=(SignalName const&) = delete;

    // "unknown signal" for a number that is none. Lives as long as the object.
    char const* Cstr() const { return name_; }

private:
    char text_[40]; // of a real-time signal
    char const* name_;
};
