#pragma once

// Usb::Path: where a USB device is plugged in, as the kernel sees it, taken from its path in /sys:
//
//   /sys/devices/platform/soc/usb1/1-1/1-1.2/1-1.2:1.0/host0/target0:0:0
//        bus 1, ports 1 and 2, configuration 1, interface 0
//
// The ports lead from the root: port 1 of the bus has a hub, and the device sits in port 2 of that. What the
// device is does not matter. Usb::PortId (UsbPortId.h) turns the place into the name of a port on the case.
//
// A plain value, empty at first; nothing allocates. One thread at a time changes an object.

#include "zeb/core/CString.h"

namespace Usb {

class ZEB_PUBLIC Path {
public:
    static constexpr unsigned long PORTS_MAX = 7;

    Path() = default;

    unsigned char Bus() const { return bus_; }
    unsigned char const* Ports() const { return ports_; } // PORTS_MAX of them, 0 behind the last
    unsigned long PortCount() const { return portCount_; }
    unsigned char Configuration() const { return configuration_; }
    unsigned char Interface() const { return interface_; }

    void Clear() { *this = Path(); }

    // False, with nothing changed, for any text but these (all numbers are decimal, and at most 255):
    //
    //   path       = 3 or more component, "/usb" bus, device..., [interface]
    //   component  = "/" and some characters other than "/"
    //   device     = "/" bus "-" ports        one for each port: the ports of the one before, and one more
    //   interface  = "/" bus "-" ports ":" configuration "." interface, component...
    //                                         with the ports of the device before, or one more
    //   ports      = port, ("." port)...      1 to 7, none of them 0, nor the bus
    bool Assign(CString const& text);

    // The same bus, and the same first `length` ports; false for a length above PORTS_MAX. Where neither has
    // a port, they are the same.
    bool HasSamePort(Path const& other, unsigned long length) const;
    // Wherever the devices are.
    bool HasSameConfiguration(Path const& other) const { return configuration_ == other.configuration_; }

    bool operator==(Path const& other) const = default;

private:
    class Scan_;
    bool TakeBus_(Scan_& scan);
    bool TakeDevice_(Scan_& scan, bool& isInterface);

    unsigned char bus_ = 0;
    unsigned char ports_[PORTS_MAX] = {};
    unsigned long portCount_ = 0;
    unsigned char configuration_ = 0;
    unsigned char interface_ = 0;
};

} // namespace Usb
