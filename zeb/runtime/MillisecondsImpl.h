#pragma once

// The form of a time-out that clients write most. Not installed.

#include "zeb/core/TimeSpan.h"

inline Time::Span Milliseconds_(long milliseconds) {
    return Time::Span(Time::Span::Value(milliseconds / 1000, milliseconds % 1000 * 1000));
}
