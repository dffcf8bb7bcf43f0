#include "zeb/text/Regex.h"

#include "zeb/core/Log.h"

namespace Util {

Regex::Regex(CString const& pattern, int flags)
    : flags_(flags) {
    int const error = pattern_.Assign(pattern) ? regcomp(&regex_, pattern_.Cstr(), flags_) : REG_ESPACE;
    compiled_ = error == 0;
    if (compiled_) return;
    char words[128];
    regerror(error, &regex_, words, sizeof words);
    Log(Log::ERROR, IDENT, nullptr, "unable to compile a regular expression: %1") << words;
}

Regex::~Regex() {
    if (compiled_) regfree(&regex_);
}

} // namespace Util
