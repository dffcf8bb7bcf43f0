#include "zeb/text/Matcher.h"

#include "zeb/core/AutoBuffer.h"
#include "zeb/runtime/StatusLog.h"
#include "zeb/text/Regex.h"

#include <climits>
#include <cstring>

namespace Util {

Matcher::Matcher(CString const& text)
    : valid_(text_.Assign(text.Cstr(), strnlen(text.Cstr(), text.Size()))) {}

void Matcher::Reset() {
    groups_.Clear();
    start_ = 0;
    end_ = 0;
}

// The engine gets the end of the text: it would look for it from the start of each search.
int Matcher::Search_(Regex const& regex, int flags, AutoBufferBase<regmatch_t>& found) const {
    unsigned long const rest = text_.Size() - end_;
    if (rest > INT_MAX) return REG_ESIZE;
    for (unsigned long i = 0; i < found.Size(); ++i)
        found[i] = {-1, -1};
    found[0] = {0, static_cast<regoff_t>(rest)};
    int const error =
        regexec(&regex.regex_, text_.Cstr() + end_, found.Size(), found.Ptr(), flags | REG_STARTEND);
    if ((regex.flags_ & REG_NOSUB) != 0) found[0] = {-1, -1};
    return error;
}

ReturnT Matcher::Find(Regex const& regex, int flags) {
    if (!regex.compiled_) return NOT_COMPILED;
    AutoBuffer<16, regmatch_t> found(regex.regex_.re_nsub + 1);
    if (!valid_ || !found.Ptr()) return OUT_OF_MEMORY;
    int const error = Search_(regex, flags, found);
    if (error == REG_NOMATCH) return NO_MATCH;
    if (error != 0 && error != REG_ESPACE) return Fail_(regex, error);
    if (error != 0 || !groups_.Assign(found.Ptr(), found.Size())) return OUT_OF_MEMORY;
    start_ = end_;
    if (found[0].rm_eo > 0) end_ += static_cast<unsigned long>(found[0].rm_eo);
    return DONE;
}

ReturnT Matcher::Fail_(Regex const& regex, int error) {
    char words[128];
    regerror(error, &regex.regex_, words, sizeof words);
    return (StatusLog(ReturnT::Fail(), Log::CRITICAL, IDENT, nullptr, "unable to search: %1") << words)
        .SetFail();
}

ReturnT Matcher::GetGroup(unsigned long index, String& group) const {
    if (index >= groups_.Size()) return NO_SUCH_GROUP;
    regmatch_t const& range = groups_[index];
    if (range.rm_so < 0) return group.Clear(), DONE;
    char const* const text = text_.Cstr() + start_ + range.rm_so;
    return group.Assign(text, static_cast<unsigned long>(range.rm_eo - range.rm_so)) ? DONE : OUT_OF_MEMORY;
}

} // namespace Util
