#pragma once

// Util::Matcher: walks through a text by regular expressions. Each Find() goes on behind the match before it,
// with any Regex; the groups are those of the last match.
//
//   Util::Regex const pair("([a-z]+)=([0-9]+)", REG_EXTENDED);
//   Util::Matcher matcher(text);
//   String name, value;
//   ReturnT code = matcher.Find(pair, 0);
//   for (; code.Succeeded(); code = matcher.Find(pair, 0)) {
//       if (matcher.GetGroup(1, name).Failed() || matcher.GetGroup(2, value).Failed()) ...
//   }
//   if (code != Util::Matcher::NO_MATCH) ...                 // the walk has not come to the end of the text
//
// Owns      a copy of the text up to its first NUL, and the places of the groups; nothing of the Regex, which
//           may end before the groups are read
// Threads   one at a time uses an object; several objects may use one Regex at a time
// Cost      that of the engine, which differs by pattern: groups cost most, REG_NOSUB and none cost least
// Memory    for the copy at construction; for the engine's work and the groups in Find(), which leaves all as
//           it was when there is none

#include "zeb/core/Array.h"
#include "zeb/core/ReturnT.h"
#include "zeb/core/String.h"

#include <regex.h>

template<class T>
class AutoBufferBase;

namespace Util {

class Regex;

class ZEB_PUBLIC Matcher {
public:
    static constexpr char const IDENT[] = "Util::Matcher";

    static constexpr ReturnT DONE = ReturnT::Make(ReturnT::SUCCESS, Facility::UTIL_MATCHER, 1);
    static constexpr ReturnT NO_SUCH_GROUP = ReturnT::Make(ReturnT::ERROR, Facility::UTIL_MATCHER, 1);
    static constexpr ReturnT NO_MATCH = ReturnT::Make(ReturnT::ERROR, Facility::UTIL_MATCHER, 2);
    static constexpr ReturnT NOT_COMPILED = ReturnT::Make(ReturnT::ERROR, Facility::UTIL_MATCHER, 3);
    static constexpr ReturnT OUT_OF_MEMORY = ReturnT::Make(ReturnT::CRITICAL, Facility::UTIL_MATCHER, 1);

    // A copy that failed shows in Find().
    explicit Matcher(CString const& text);

    // Back to the start of the text, with no groups.
    void Reset();

    // The next match; the flags are REG_NOTBOL and REG_NOTEOL of regexec(), or 0. "^" means the place where
    // the search starts, unless REG_NOTBOL says otherwise. A match of nothing, such as of "x*", does not move
    // on: a loop over such patterns does not end. A pattern with REG_NOSUB tells only whether there is a
    // match: it does not move on either, and its groups are empty. Gives DONE, NO_MATCH, NOT_COMPILED or
    // OUT_OF_MEMORY; for other flags, and beyond 2 GiB of text, a generic failure, logged in the engine's
    // words. On failure the place and the groups stay as they were.
    ReturnT Find(Regex const& regex, int flags);

    // A group of the last match, of which 0 is the whole; a group that took no part is empty. Gives DONE,
    // NO_SUCH_GROUP or OUT_OF_MEMORY.
    ReturnT GetGroup(unsigned long index, String& group) const;

private:
    int Search_(Regex const& regex, int flags, AutoBufferBase<regmatch_t>& found) const;
    static ReturnT Fail_(Regex const& regex, int error);

    String text_;
    Array<regmatch_t> groups_; // offsets from start_
    unsigned long start_ = 0;  // where the search of the last match began
    unsigned long end_ = 0;    // behind the last match
    bool valid_;
};

} // namespace Util
