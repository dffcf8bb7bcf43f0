#pragma once

// Util::Regex: a POSIX regular expression, compiled once by regcomp(). Util::Matcher searches texts with it.
//
// An object never changes after its construction, and may then be used by several threads at a time. A
// pattern that does not compile is logged; Compiled() is false then, and Matcher::Find() refuses it.

#include "zeb/core/Export.h"
#include "zeb/core/String.h"

#include <regex.h>

namespace Util {

class ZEB_PUBLIC Regex {
public:
    static constexpr char const IDENT[] = "Util::Regex";

    // The flags of regcomp(): REG_EXTENDED, REG_ICASE, REG_NEWLINE, REG_NOSUB. With REG_NOSUB, for callers
    // that only ask whether there is a match, the engine skips the search for its place, which is by far the
    // longest part of its work.
    Regex(CString const& pattern, int flags);
    ~Regex();
    Regex(Regex const&) = delete;
    Regex& operator=(Regex const&) = delete;

    String const& Pattern() const { return pattern_; }
    int Flags() const { return flags_; }
    bool Compiled() const { return compiled_; }

private:
    friend class Matcher;

    // Fixed after construction.
    regex_t regex_ = {};
    String pattern_;
    int flags_;
    bool compiled_ = false;
};

} // namespace Util
