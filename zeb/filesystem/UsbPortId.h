#pragma once

// Usb::PortId: the name of a USB port as a user sees it on the case, and of ports of hubs behind it: "1", or
// "1/3" for port 3 of the hub that is plugged in there.
//
// A plain value, empty at first. GetString() allocates. One thread at a time changes an object.

#include "zeb/core/CString.h"
#include "zeb/filesystem/UsbPath.h"

class String;

namespace Usb {

class ZEB_PUBLIC PortId {
public:
    PortId() = default;

    // By the table of the case, whose ports are these of the kernel:
    //
    //   bus 1, ports 1.2    1
    //   bus 1, ports 1.1    2
    //   bus 2, port 1       2
    //
    // Other ports are named as they are, without the bus. Empty for a path without ports.
    explicit PortId(Usb::Path const& path);

    // Numbers of one digit with "/" between, at most 7: the first from 1 to 3, the others from 1 to 7. False,
    // with nothing changed, for any other text.
    bool Assign(CString const& text);

    // The numbers with "/" between. False, with `text` as it was, when memory ran out.
    bool GetString(String& text) const;

    bool Empty() const { return length_ == 0; }
    void Clear() { *this = PortId(); }

    // The first number, 0 if there is none.
    unsigned char CasePort() const { return ports_[0]; }

    bool operator==(PortId const& other) const = default;

    // What Assign() takes, as an extended regular expression: "^[1-3](\/[1-7]){0,6}$".
    static char const* Pattern();

private:
    unsigned char ports_[Usb::Path::PORTS_MAX] = {};
    unsigned long length_ = 0;
};

} // namespace Usb
