#include "zeb/text/UriScanImpl.h"

namespace Util {

namespace {

enum ClassT_ : unsigned char {
    COLON_ = 1,
    SLASH_ = 2,
    QUESTION_ = 4,
    HASH_ = 8,
    BAD_ = 16,     // white space and NUL
    NO_HOST_ = 32, // ":", "\", "/" and "["
    ADDRESS_ = 64, // in an IPv6 address
};

struct ClassesT_ {
    unsigned char of[256];
};

constexpr ClassesT_ MakeClasses_() {
    ClassesT_ classes{};
    auto const mark = [&classes](char const* text, unsigned mask) {
        for (; *text; ++text)
            classes.of[static_cast<unsigned char>(*text)] |= static_cast<unsigned char>(mask);
    };
    mark(":", COLON_);
    mark("/", SLASH_);
    mark("?", QUESTION_);
    mark("#", HASH_);
    mark(" \t\n\v\f\r", BAD_);
    mark(":\\/[", NO_HOST_);
    mark("0123456789abcdefABCDEF:", ADDRESS_);
    classes.of[0] = BAD_;
    return classes;
}

constexpr ClassesT_ CLASSES = MakeClasses_();

constexpr unsigned long ADDRESS_MIN = 3;
constexpr unsigned long ADDRESS_MAX = 39;
constexpr unsigned long PORT_MAX = 5;

struct Range_ {
    char const* pos;
    char const* const end;

    bool Empty() const { return pos == end; }
    bool At(char c) const { return pos != end && *pos == c; }
    bool Is(unsigned mask) const { return (CLASSES.of[static_cast<unsigned char>(*pos)] & mask) != 0; }

    // Both give what was passed.
    CString Until(unsigned mask) {
        char const* const begin = pos;
        while (pos != end && !Is(mask))
            ++pos;
        return Since(begin);
    }
    CString Since(char const* begin) const { return CString(begin, static_cast<unsigned long>(pos - begin)); }
};

bool ScanPort_(Range_ range, CString& port) {
    if (range.Empty()) return true;
    if (!range.At(':')) return false;
    char const* const begin = ++range.pos;
    while (!range.Empty() && *range.pos >= '0' && *range.pos <= '9')
        ++range.pos;
    port = range.Since(begin);
    return range.Empty() && !port.Empty() && port.Size() <= PORT_MAX;
}

// A host of either form and the port behind it. Some brackets hold a character that is no digit.
bool ScanHost_(Range_ range, char extra, AuthorityParts& parts) {
    parts.bracketed = range.At('[');
    if (!parts.bracketed) {
        parts.host = range.Until(NO_HOST_);
        return !parts.host.Empty() && ScanPort_(range, parts.port);
    }
    char const* const begin = ++range.pos;
    while (!range.Empty() && (range.Is(ADDRESS_) || *range.pos == extra))
        ++range.pos;
    parts.host = range.Since(begin);
    if (!range.At(']') || parts.host.Size() < ADDRESS_MIN || parts.host.Size() > ADDRESS_MAX) return false;
    ++range.pos;
    return ScanPort_(range, parts.port);
}

// What stands before the host, up to and with its "@". A colon that comes before every "@" ends the user; so
// does one behind it if another "@" follows, before the next colon: then the user has an "@" in it.
bool ScanLogin_(Range_& range, AuthorityParts& parts) {
    Range_ password = range;
    password.Until(COLON_);
    if (!password.Empty() && password.pos != range.pos) {
        parts.user = password.Since(range.pos);
        char const* const begin = ++password.pos;
        while (!password.Empty() && *password.pos != ':' && *password.pos != '@')
            ++password.pos;
        if (password.At('@')) {
            parts.password = password.Since(begin);
            range.pos = password.pos + 1;
            return true;
        }
    }
    char const* const begin = range.pos;
    while (!range.Empty() && *range.pos != ':' && *range.pos != '@')
        ++range.pos;
    if (!range.At('@')) return false;
    parts.user = range.Since(begin);
    ++range.pos;
    return true;
}

} // namespace

UriEndT ScanUri(CString const& text, UriParts& parts) {
    Range_ range{text.Cstr(), text.Cstr() + text.Size()};
    char const* begin = range.pos;
    CString const first = range.Until(COLON_ | SLASH_ | QUESTION_ | HASH_ | BAD_);
    if (!first.Empty() && range.At(':')) {
        parts.scheme = first;
        begin = ++range.pos;
    }
    if (range.pos == begin && range.end - begin >= 2 && begin[0] == '/' && begin[1] == '/') {
        range.pos += 2;
        parts.authority = range.Until(SLASH_ | QUESTION_ | HASH_ | BAD_);
        begin = range.pos;
    }
    range.Until(QUESTION_ | HASH_ | BAD_);
    parts.path = range.Since(begin);
    if (range.At('?')) {
        ++range.pos;
        parts.query = range.Until(HASH_ | BAD_);
    }
    if (range.At('#')) {
        ++range.pos;
        parts.fragment = range.Until(BAD_);
    }
    if (range.Empty()) return URI_CLEAN;
    return *range.pos == '\0' ? URI_NUL : URI_SPACE;
}

AuthorityParts::FormT ScanAuthority(CString const& text, AuthorityParts& parts) {
    if (text.Empty()) return AuthorityParts::LOGIN;
    if (memchr(text.Cstr(), '\0', text.Size())) return AuthorityParts::NEITHER;
    Range_ range{text.Cstr(), text.Cstr() + text.Size()};
    Range_ const whole = range;
    if (ScanLogin_(range, parts) && ScanHost_(range, ':', parts)) return AuthorityParts::LOGIN;
    parts = AuthorityParts();
    if (ScanHost_(whole, '\\', parts)) return AuthorityParts::HOST;
    parts = AuthorityParts();
    return AuthorityParts::NEITHER;
}

} // namespace Util
