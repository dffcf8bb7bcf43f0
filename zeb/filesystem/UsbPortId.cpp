#include "zeb/filesystem/UsbPortId.h"

#include "zeb/core/Digits.h"
#include "zeb/core/String.h"

namespace Usb {

namespace {

struct CasePort_ {
    unsigned char bus;
    unsigned char prefix[Path::PORTS_MAX + 1]; // ends with a 0
    unsigned char port;

    unsigned long PrefixSize() const { return strlen(reinterpret_cast<char const*>(prefix)); }
    bool Leads(Path const& path) const {
        return bus == path.Bus() && memcmp(prefix, path.Ports(), PrefixSize()) == 0;
    }
};

constexpr CasePort_ PORT_MAP[] = {
    {1, {1, 2}, 1},
    {1, {1, 1}, 2},
    {2, {1}, 2},
};

constexpr char CASE_PORT_LAST = '3', HUB_PORT_LAST = '7';

} // namespace

PortId::PortId(Usb::Path const& path) {
    unsigned long skipped = 0;
    for (CasePort_ const& row : PORT_MAP) {
        if (!row.Leads(path)) continue;
        ports_[length_++] = row.port;
        skipped = row.PrefixSize();
        break;
    }
    for (unsigned long i = skipped; i < path.PortCount(); ++i)
        ports_[length_++] = path.Ports()[i];
}

bool PortId::Assign(CString const& text) {
    PortId found;
    if (text.Size() % 2 == 0 || text.Size() / 2 >= Path::PORTS_MAX) return false;
    for (unsigned long i = 0; i < text.Size(); ++i) {
        char const c = text[i];
        if (i % 2 == 1 && c != '/') return false;
        if (i % 2 == 1) continue;
        if (c < '1' || c > (i == 0 ? CASE_PORT_LAST : HUB_PORT_LAST)) return false;
        found.ports_[found.length_++] = static_cast<unsigned char>(c - '0');
    }
    *this = found;
    return true;
}

bool PortId::GetString(String& text) const {
    char buffer[Path::PORTS_MAX * sizeof "/255"];
    char* end = buffer;
    for (unsigned long i = 0; i < length_; ++i) {
        if (i != 0) *end++ = '/';
        end = Digits::PrintDecimal(end, ports_[i]);
    }
    return text.Assign(buffer, static_cast<unsigned long>(end - buffer));
}

char const* PortId::Pattern() { return "^[1-3](\\/[1-7]){0,6}$"; }

} // namespace Usb
