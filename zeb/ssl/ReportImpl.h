#pragma once

// The reports of this folder's operations.

#include "zeb/runtime/StatusLog.h"

namespace Ssl {

inline ReturnT Fail_(char const* ident, char const* message, unsigned line = __builtin_LINE()) {
    return StatusLog(ReturnT::Fail(line), Log::CRITICAL, ident, nullptr, message).SetFail();
}

inline ReturnT Oom_(char const* ident, char const* message, unsigned line = __builtin_LINE()) {
    return StatusLog(ReturnT::Oom(line), Log::CRITICAL, ident, nullptr, message).SetOom();
}

// A failure that has a code of its own.
inline ReturnT Report_(ReturnT const& code, char const* ident, char const* message) {
    return StatusLog(code, Log::ERROR, ident, nullptr, message);
}

inline ReturnT Done_(char const* ident, unsigned line = __builtin_LINE()) {
    return StatusLog(ReturnT::Done(line), Log::INFO, ident, nullptr, "").SetDone();
}

} // namespace Ssl
