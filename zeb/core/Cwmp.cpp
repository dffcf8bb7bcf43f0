#include "zeb/core/Cwmp.h"

namespace Cwmp {

int ErrorMap(ReturnT const& code, ErrorCodeMapT const* table, unsigned long count, DefaultT& def) {
    def = DEFAULT_NONE;
    for (ErrorCodeMapT const *row = table, *const end = table + count; row != end; ++row) {
        if (row->code != code) continue;
        def = row->def;
        return row->fault;
    }
    if (code.IsOom()) return FAULT_RESOURCES_EXCEEDED;
    return code.Failed() ? FAULT_INTERNAL_ERROR : FAULT_NONE;
}

int ErrorMap(ReturnT const& code, DefaultT& def) { return ErrorMap(code, nullptr, 0, def); }

int ErrorMap(ReturnT const& code) {
    DefaultT unused;
    return ErrorMap(code, unused);
}

int ErrorMap(ReturnT const& code, bool& ok) {
    int const fault = ErrorMap(code);
    ok = fault == FAULT_NONE;
    return fault;
}

} // namespace Cwmp
