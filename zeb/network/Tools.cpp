#include "zeb/network/Tools.h"

#include "libzeb/zeb_punycode.h"
#include "zeb/core/String.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <net/if.h>

namespace Network {

namespace {

constexpr unsigned long MAX_NAME = 253;
constexpr unsigned long MAX_LABEL = 63;

bool IsAlnum_(char c) { return isalnum(static_cast<unsigned char>(c)) != 0; }

bool IsLabel_(char const* text, unsigned long size) {
    if (size == 0 || size > MAX_LABEL || !IsAlnum_(text[0]) || !IsAlnum_(text[size - 1])) return false;
    for (unsigned long i = 1; i < size; ++i) {
        if (!IsAlnum_(text[i]) && text[i] != '-') return false;
    }
    return true;
}

} // namespace

bool Tools::IsDomainName(CString const& name) {
    if (name.Size() > MAX_NAME) return false;
    for (unsigned long pos = 0;;) {
        unsigned long const dot = name.Find('.', pos);
        if (!IsLabel_(name.Cstr() + pos, dot - pos)) return false;
        if (dot == name.Size()) return true;
        pos = dot + 1;
    }
}

// The kernel takes a terminated name; a view may end earlier, or have a NUL inside.
unsigned int Tools::IfNameToIndex(CString const& name) {
    char text[IF_NAMESIZE] = {};
    if (name.Size() >= sizeof(text)) return 0;
    memcpy(text, name.Cstr(), name.Size());
    return strlen(text) == name.Size() ? if_nametoindex(text) : 0;
}

bool Tools::DecodePunycode(CString const& in, String& out) {
    char* const text = zeb_punycode_decode_utf8(in.Cstr(), in.Size());
    if (!text) return false;
    bool const assigned = out.Assign(CString(text));
    free(text);
    return assigned;
}

} // namespace Network
