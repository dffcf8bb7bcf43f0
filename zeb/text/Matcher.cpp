#include "zeb/text/Matcher.h"

#include "zeb/core/AutoBuffer.h"
#include "zeb/text/Regex.h"

namespace Util {

Matcher::Matcher(CString const& text)
    : valid_(text_.Assign(text)) {}

void Matcher::Reset() {
    groups_.Clear();
    start_ = 0;
    end_ = 0;
}

ReturnT Matcher::Find(Regex const& regex, int flags) {
    if (!regex.compiled_) return NOT_COMPILED;
    AutoBuffer<16, regmatch_t> found(regex.regex_.re_nsub + 1);
    if (!valid_ || !found.Ptr()) return OUT_OF_MEMORY;
    for (unsigned long i = 0; i < found.Size(); ++i)
        found[i] = {-1, -1};
    int const error = regexec(&regex.regex_, text_.Cstr() + end_, found.Size(), found.Ptr(), flags);
    if (error == REG_NOMATCH) return NO_MATCH;
    if (error != 0 || !groups_.Assign(found.Ptr(), found.Size())) return OUT_OF_MEMORY;
    start_ = end_;
    if (found[0].rm_eo > 0) end_ += static_cast<unsigned long>(found[0].rm_eo);
    return DONE;
}

ReturnT Matcher::GetGroup(unsigned long index, String& group) const {
    if (index >= groups_.Size()) return NO_SUCH_GROUP;
    regmatch_t const& range = groups_[index];
    if (range.rm_so < 0) return group.Clear(), DONE;
    char const* const text = text_.Cstr() + start_ + range.rm_so;
    return group.Assign(text, static_cast<unsigned long>(range.rm_eo - range.rm_so)) ? DONE : OUT_OF_MEMORY;
}

} // namespace Util
