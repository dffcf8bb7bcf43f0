#pragma once

// Names of hosts and interfaces.

#include "zeb/core/CString.h"
#include "zeb/core/Export.h"

namespace Network {

class ZEB_PUBLIC Tools {
public:
    // 1 to 253 characters in labels of 1 to 63, of letters, digits and, in between, "-". No trailing dot.
    static bool IsDomainName(CString const& name);

    // The number that the kernel has given to a network interface, or 0 if there is none of that name.
    static unsigned int IfNameToIndex(CString const& name);

    // A label in punycode (RFC 3492, without the prefix "xn--") as UTF-8. False, with `out` as it was, for a
    // text that is none or when memory ran out.
    [[nodiscard]] static bool DecodePunycode(CString const& in, String& out);
};

} // namespace Network
