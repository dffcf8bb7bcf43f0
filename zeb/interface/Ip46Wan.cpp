#include "zeb/interface/Ip46Wan.h"

#include "zeb/event/WanEvents.h"

namespace Network {

namespace {

// Both or none.
bool Assign(String& id, CString const& newId, String& systemName, CString const& newSystemName) {
    String copy;
    if (!copy.Assign(newId.Cstr(), newId.Size()) ||
        !systemName.Assign(newSystemName.Cstr(), newSystemName.Size()))
        return false;
    id.Swap(copy);
    return true;
}

} // namespace

bool Ip46Wan::OnIpWan(Event::IpWan const& event, bool& changed) {
    changed = false;
    if (event.CurrentId().Empty()) {
        if (ip4Id_.Empty()) return true;
        changed = ip6Id_.Empty() || ip4Priority_ > ip6Priority_;
        ip4Id_.Clear();
        ip4SystemName_.Clear();
        ip4Priority_ = 0;
        ip4Address_.Clear();
        return true;
    }
    unsigned long const priority = event.CurrentPriority();
    bool const isSame =
        ip4Id_ == event.CurrentId() && ip4Address_ == event.CurrentIpAddress() && ip4Priority_ == priority;
    // What did not lead matters only if it takes over.
    bool const didLead = ip6Id_.Empty() || ip4Priority_ > ip6Priority_;
    if (!Assign(ip4Id_, event.CurrentId(), ip4SystemName_, event.CurrentSystemName())) return false;
    changed = !isSame && (didLead || ip6Priority_ < priority);
    ip4Priority_ = priority;
    ip4Address_ = event.CurrentIpAddress();
    return true;
}

// As above, but for ties.
bool Ip46Wan::OnIp6Wan(Event::Ip6Wan const& event, bool& changed) {
    changed = false;
    if (event.CurrentId().Empty()) {
        if (ip6Id_.Empty()) return true;
        changed = ip4Id_.Empty() || ip6Priority_ >= ip4Priority_;
        ip6Id_.Clear();
        ip6SystemName_.Clear();
        ip6Priority_ = 0;
        ip6Address_ = Ip6::Address();
        return true;
    }
    unsigned long const priority = event.CurrentPriority();
    bool const isSame =
        ip6Id_ == event.CurrentId() && ip6Address_ == event.CurrentIpAddress() && ip6Priority_ == priority;
    bool const didLead = ip4Id_.Empty() || ip6Priority_ >= ip4Priority_;
    if (!Assign(ip6Id_, event.CurrentId(), ip6SystemName_, event.CurrentSystemName())) return false;
    changed = !isSame && (didLead || ip4Priority_ <= priority);
    ip6Priority_ = priority;
    ip6Address_ = event.CurrentIpAddress();
    return true;
}

} // namespace Network
