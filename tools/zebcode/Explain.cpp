#include "tools/zebcode/Explain.h"

#include "zeb/core/Integer.h"
#include "zeb/core/ReturnT.h"

#include <cstdio>
#include <limits>

namespace {

struct OwnerT {
    uint32_t facility;
    char const* classes;
};

#define ZEB_FACILITY_OWNER(number, name, owner) {number, owner},
OwnerT const OWNERS[] = {ZEB_FACILITIES(ZEB_FACILITY_OWNER)};
#undef ZEB_FACILITY_OWNER

char const* const SEVERITIES[] = {"success", "warning", "error", "critical"};
constexpr uint32_t RESERVED = 3U << 28, NUMBER = 0xFFFF;

// Of the families that no class owns; null for all others.
char const* FamilyWords(uint32_t facility) {
    switch (facility) {
    case Facility::FAIL:
        return "Fail: a call of the system or of a library failed";
    case Facility::OOM:
        return "Oom: an allocation failed";
    case Facility::DONE:
        return "Done: success";
    default:
        return nullptr;
    }
}

char const* Owner(uint32_t facility) {
    for (OwnerT const& row : OWNERS)
        if (row.facility == facility) return row.classes;
    return "owned by no class";
}

template<class... T>
std::string Format(char const* format, T... arguments) {
    char text[200];
    snprintf(text, sizeof text, format, arguments...);
    return text;
}

} // namespace

bool ReadCode(std::string text, uint32_t& code) {
    constexpr std::size_t DIGITS = 8;
    if (text.size() > 2 && text.front() == '[' && text.back() == ']') text = text.substr(1, text.size() - 2);
    bool const isPrefixed = text.starts_with("0x") || text.starts_with("0X");
    if (isPrefixed) text.erase(0, 2);
    bool const isHex = Integer::Parse(text.data(), text.size(), code, Integer::PARSE_HEX);
    if (isPrefixed || (isHex && text.size() == DIGITS && (code & RESERVED) == 0)) return isHex;
    long number;
    if (!Integer::Parse(text.data(), text.size(), number)) return false;
    code = static_cast<uint32_t>(number);
    return number >= std::numeric_limits<int32_t>::min() && number <= std::numeric_limits<uint32_t>::max();
}

std::string Explain(uint32_t value) {
    ReturnT const code(value);
    std::string const head = Format("0x%08x\t", value);
    if (code == ReturnT::UNDEFINED) return head + "success, undefined: nothing was reported yet";
    if ((value & RESERVED) != 0) return head + "no return code: bits 29 and 28 are 0 in all of them";
    std::string const severity = SEVERITIES[code.Severity()];
    unsigned const number = value & NUMBER;
    if (char const* const words = FamilyWords(code.Facility()))
        return head + severity + Format(", %s, reported at source line %u", words, number);
    return head + severity +
           Format(", facility %u (0x%03x), %s, number %u (0x%x)", code.Facility(), code.Facility(),
                  Owner(code.Facility()), number, number);
}
