#pragma once

// Util::Matcher: walks through a text by regular expressions. Each Find() goes on behind the match before it,
// with any Regex; the groups are those of the last match.
//
//   Util::Regex const pair("([a-z]+)=([0-9]+)", REG_EXTENDED);
//   Util::Matcher matcher(text);
//   while (matcher.Find(pair, 0).Succeeded()) {
//       if (matcher.GetGroup(1, name).Failed() || matcher.GetGroup(2, value).Failed()) ...
//   }
//
// The matcher owns a copy of the text, up to its first NUL. It holds nothing of the Regex. One thread at a
// time uses an object.

#include "zeb/core/Array.h"
#include "zeb/core/ReturnT.h"
#include "zeb/core/String.h"

#include <regex.h>

namespace Util {

class Regex;

class ZEB_PUBLIC Matcher {
public:
    static constexpr ReturnT DONE = ReturnT::Make(ReturnT::SUCCESS, Facility::UTIL_MATCHER, 1);
    static constexpr ReturnT NO_SUCH_GROUP = ReturnT::Make(ReturnT::ERROR, Facility::UTIL_MATCHER, 1);
    static constexpr ReturnT NO_MATCH = ReturnT::Make(ReturnT::ERROR, Facility::UTIL_MATCHER, 2);
    static constexpr ReturnT NOT_COMPILED = ReturnT::Make(ReturnT::ERROR, Facility::UTIL_MATCHER, 3);
    static constexpr ReturnT OUT_OF_MEMORY = ReturnT::Make(ReturnT::CRITICAL, Facility::UTIL_MATCHER, 1);

    // A copy that failed shows in Find().
    explicit Matcher(CString const& text);

    // Back to the start of the text, with no groups.
    void Reset();

    // The next match; the flags are those of regexec(). "^" means the place where the search starts, unless
    // REG_NOTBOL says otherwise. A match of nothing does not move on: a loop over such patterns does not end.
    // A pattern with REG_NOSUB tells only whether there is a match: it does not move on either, and its
    // groups are empty. Gives DONE, NO_MATCH, NOT_COMPILED or OUT_OF_MEMORY; on failure the place and the
    // groups stay as they were.
    ReturnT Find(Regex const& regex, int flags);

    // A group of the last match, of which 0 is the whole; a group that took no part is empty. Gives DONE,
    // NO_SUCH_GROUP or OUT_OF_MEMORY.
    ReturnT GetGroup(unsigned long index, String& group) const;

private:
    String text_;
    Array<regmatch_t> groups_; // offsets from start_
    unsigned long start_ = 0;  // where the search of the last match began
    unsigned long end_ = 0;    // behind the last match
    bool valid_;
};

} // namespace Util
