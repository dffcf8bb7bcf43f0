#pragma once

// Translation of return codes from one class's facility into another's, by tables of pairs.

#include "zeb/core/ReturnT.h"

namespace Tools {

// One row. A table ends with Nil().
class ZEB_PUBLIC CodePair {
public:
    constexpr CodePair(ReturnT const& from, ReturnT const& to)
        : from_(from)
        , to_(to) {}

    // The pair {0, 0}.
    static CodePair const& Nil();

    // True, with the translation in `out`, if this row is for the code. Otherwise `out` stays as it was.
    bool Translate(ReturnT const& code, ReturnT& out) const;

    constexpr bool IsNil() const { return from_ == 0U && to_ == 0U; }

private:
    ReturnT from_;
    ReturnT to_;
};

// The first row for the code decides, `defaultCode` without one. Fail, Oom and Done codes pass unchanged, so
// that their source line survives.
[[nodiscard]] ZEB_PUBLIC ReturnT TranslateCode(ReturnT const& code, CodePair const* pairs,
                                               ReturnT const& defaultCode);

} // namespace Tools
