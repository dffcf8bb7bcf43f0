#pragma once

// Translation of return codes into the fault numbers of the CPE WAN management protocol.

#include "zeb/core/ReturnT.h"

namespace Cwmp {

// Tells which default a matching row asks for; the tables of the caller number them.
enum DefaultT : int { DEFAULT_NONE = 0 };

inline constexpr int FAULT_NONE = 0;
inline constexpr int FAULT_INTERNAL_ERROR = 9002;
inline constexpr int FAULT_RESOURCES_EXCEEDED = 9004;

struct ErrorCodeMapT {
    ReturnT code;
    int fault;
    DefaultT def;
};

// The fault number of the first row for the code, and its default in `def` (0 without a row). Without a row:
// 9004 for an out-of-memory code of any severity, 9002 for another failure, 0 for success.
ZEB_PUBLIC int ErrorMap(ReturnT const& code, ErrorCodeMapT const* table, unsigned long count, DefaultT& def);

// The same with no table. `ok` tells whether the result is 0.
ZEB_PUBLIC int ErrorMap(ReturnT const& code);
ZEB_PUBLIC int ErrorMap(ReturnT const& code, DefaultT& def);
ZEB_PUBLIC int ErrorMap(ReturnT const& code, bool& ok);

} // namespace Cwmp
