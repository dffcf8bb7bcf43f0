#include "zeb/filesystem/UsbPath.h"

#include "zeb/core/Integer.h"

namespace Usb {

namespace {

constexpr CString BUS_WORD("usb");
constexpr unsigned long ABOVE_BUS_MIN = 3; // components

} // namespace

class Path::Scan_ {
public:
    explicit Scan_(CString const& text)
        : text_(text) {}

    bool AtEnd() const { return at_ == text_.Size(); }
    bool Sees(char c) const { return !AtEnd() && text_[at_] == c; }

    bool Take(char c) {
        bool const isThere = Sees(c);
        at_ += isThere ? 1 : 0;
        return isThere;
    }

    bool Take(unsigned char& number) {
        unsigned long const start = at_;
        while (!AtEnd() && text_[at_] >= '0' && text_[at_] <= '9')
            ++at_;
        return Integer::Parse(text_.Cstr() + start, at_ - start, number);
    }

    // "/" and what follows up to the next one, which is not nothing.
    bool TakeComponent(CString& component) {
        if (!Take('/')) return false;
        unsigned long const end = text_.Find('/', at_);
        component = CString(text_.Cstr() + at_, end - at_);
        at_ = end;
        return !component.Empty();
    }

private:
    CString const& text_;
    unsigned long at_ = 0;
};

// Goes past the first component that names a bus.
bool Path::TakeBus_(Scan_& scan) {
    CString component;
    for (unsigned long above = 0; scan.TakeComponent(component); ++above) {
        if (component.Compare(0, BUS_WORD.Size(), BUS_WORD) != 0) continue;
        CString const digits(component.Cstr() + BUS_WORD.Size(), component.Size() - BUS_WORD.Size());
        if (!digits.IsNumeric()) continue;
        return Integer::Parse(digits, bus_) && bus_ != 0 && above >= ABOVE_BUS_MIN;
    }
    return false;
}

bool Path::TakeDevice_(Scan_& scan, bool& isInterface) {
    unsigned char bus, port;
    if (!scan.Take('/') || !scan.Take(bus) || bus != bus_ || !scan.Take('-')) return false;
    unsigned long count = 0;
    do {
        if (count == PORTS_MAX || !scan.Take(port) || port == 0) return false;
        if (count < portCount_ && port != ports_[count]) return false;
        if (count > portCount_) return false;
        ports_[count++] = port;
    } while (scan.Take('.'));
    isInterface = scan.Sees(':');
    if (count < portCount_ || (count == portCount_ && !isInterface)) return false;
    portCount_ = count;
    if (scan.Take(':') && !(scan.Take(configuration_) && scan.Take('.') && scan.Take(interface_)))
        return false;
    return scan.AtEnd() || scan.Sees('/');
}

bool Path::Assign(CString const& text) {
    Path found;
    Scan_ scan(text);
    bool isInterface = false;
    if (!found.TakeBus_(scan)) return false;
    while (!isInterface && !scan.AtEnd())
        if (!found.TakeDevice_(scan, isInterface)) return false;
    for (CString component; !scan.AtEnd();)
        if (!scan.TakeComponent(component)) return false;
    *this = found;
    return true;
}

bool Path::HasSamePort(Path const& other, unsigned long length) const {
    return length <= PORTS_MAX && bus_ == other.bus_ && memcmp(ports_, other.ports_, length) == 0;
}

} // namespace Usb
