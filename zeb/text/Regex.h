#pragma once

// Util::Regex: a POSIX regular expression, compiled once by regcomp(). Util::Matcher searches texts with it.
// Compile what is used often once, as a member or a static of a function: it takes far longer than a search.
//
// Owns      a copy of the pattern, and what the engine made of it
// Threads   any number at a time: it never changes after its construction
// Failure   a pattern that does not compile, also for want of memory, is logged in the engine's words;
//           Compiled() is false then, and Matcher::Find() refuses it. A pattern ends at its first NUL

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
