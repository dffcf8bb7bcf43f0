#include "zeb/text/Version.h"

#include "zeb/core/Digits.h"
#include "zeb/core/Integer.h"
#include "zeb/core/Log.h"
#include "zeb/core/String.h"
#include "zeb/text/Matcher.h"
#include "zeb/text/Regex.h"

#include <cstring>

namespace {

constinit Version const zero_(31);

} // namespace

// Field n is group[n] of the match; the list ends at a 0.
struct Version::Form_ {
    char const* pattern;
    unsigned char groups[COUNT + 1];
};

constinit Version::Form_ const Version::FORMS_[] = {
    {"([0-9]+)\\.([0-9]+)\\([A-Z]+\\.([0-9]+)\\)([A-E])([0-9]+)", {1, 2, 4, 5, 3}},
    {"([0-9]+)\\.([0-9]+)\\.[0-9]+\\.([A-E])(\\.([0-9]+))?", {1, 2, 3, 5}},
    {"([0-9]+)\\.([0-9]+)\\.([A-E])\\.([0-9]+)(\\.([0-9]+))?$", {1, 2, 3, 4, 6}},
    {"([0-9]+)\\.([0-9]+)\\.([A-E]|0)\\.([0-9]+)\\.[0-9]+-([0-9]+)", {1, 2, 3, 4, 5}},
};

Version const& Version::Zero() { return zero_; }

bool Version::IsZero() const {
    for (int64_t const field : fields_)
        if (field != 0) return false;
    return true;
}

std::weak_ordering Version::operator<=>(Version const& other) const {
    for (unsigned i = 0; i < COUNT; ++i)
        if ((mask_ >> i & 1) != 0 && fields_[i] != other.fields_[i]) return fields_[i] <=> other.fields_[i];
    return std::weak_ordering::equivalent;
}

Version::FoundT Version::Parse_(CString const& text, Form_ const& form) {
    Util::Regex const regex(form.pattern, REG_EXTENDED);
    if (!regex.Compiled()) {
        (Log(Log::CRITICAL, IDENT, nullptr, "unable to compile the pattern \"%1\"") << form.pattern)
            .Fail(ReturnT::Fail());
        return FoundT::FAILED;
    }
    Util::Matcher matcher(text);
    ReturnT const code = matcher.Find(regex, 0);
    if (code == Util::Matcher::NO_MATCH) return FoundT::NO;
    if (code.Failed()) return FoundT::FAILED;
    Version found;
    for (unsigned i = 0; form.groups[i] != 0; ++i) {
        String group;
        if (matcher.GetGroup(form.groups[i], group).Failed()) return FoundT::FAILED;
        bool const isEmpty = group.Empty(); // which stands for 0
        if (!isEmpty && !Integer::Parse(group, found.fields_[i], Integer::PARSE_HEX)) return FoundT::NO;
        found.mask_ |= 1UL << i;
    }
    *this = found;
    return FoundT::YES;
}

bool Version::Parse(CString const& text) {
    Version found;
    bool matched = false;
    for (Form_ const& form : FORMS_) {
        FoundT const result = found.Parse_(text, form);
        if (result == FoundT::FAILED) return false;
        if (result == FoundT::YES) matched = true;
    }
    if (matched) *this = found;
    return matched;
}

bool Version::Print(String& text) const {
    char buffer[COUNT * Digits::MAX_SIZE];
    char* end = buffer;
    for (unsigned i = 0; i < COUNT; ++i) {
        if (i == COUNT - 1)
            end = stpcpy(end, ".0-");
        else if (i != 0)
            *end++ = '.';
        end = Digits::PrintHex(end, static_cast<uint64_t>(fields_[i]), Digits::UPPER);
    }
    return text.Append(CString(buffer, static_cast<unsigned long>(end - buffer)));
}
