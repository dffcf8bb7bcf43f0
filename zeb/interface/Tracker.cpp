#include "zeb/interface/Tracker.h"

#include "zeb/core/AutoPtr.h"
#include "zeb/core/Log.h"
#include "zeb/core/Time.h"
#include "zeb/event/InterfaceAddressEvents.h"
#include "zeb/event/InterfaceEvents.h"
#include "zeb/interface/Ip4TrackerBase.h"
#include "zeb/interface/Ip6TrackerBase.h"
#include "zeb/runtime/StatusLog.h"

#include <new>

namespace Network::Interface {

template<class IfT>
Tracker_<IfT>::Tracker_(CString const& ident) {
    if (ident_.Assign(ident.Cstr(), ident.Size())) flags_ = INITIALIZED_;
}

template<class IfT>
Tracker_<IfT>::~Tracker_() {
    for (unsigned long i = 0; i != interfaces_.Size(); ++i)
        delete static_cast<IfT*>(interfaces_.Get(i));
}

template<class IfT>
bool Tracker_<IfT>::FailOom_() const {
    (void)StatusLog(ReturnT::Oom(), Log::CRITICAL, IfT::TRACKER, ident_.Cstr(), "").SetOom();
    return false;
}

template<class IfT>
IfT* Tracker_<IfT>::Fail_() const {
    (void)StatusLog(ReturnT::Fail(), Log::CRITICAL, IfT::TRACKER, ident_.Cstr(), "").SetFail();
    return nullptr;
}

template<class IfT>
IfT* Tracker_<IfT>::FindCreate_(CString const& id, CString const& name, CString const& systemName,
                                Time::Span const& created, bool& isNew, bool& isStale) {
    isNew = isStale = false;
    if (auto* const known = static_cast<IfT*>(interfaces_.Get(id))) {
        isStale = known->CreatedTime() > created;
        return known;
    }
    AutoPtr<IfT> record(new (std::nothrow) IfT(name, systemName, created));
    if (!record || !record->Initialized() || !interfaces_.Set(id, record.Ptr())) {
        FailOom_();
        return nullptr;
    }
    isNew = true;
    return record.Release();
}

template<class IfT>
IfT* Tracker_<IfT>::Admit_(Event::Base const& event, CString const& id, CString const& name,
                           CString const& systemName, Time::Span const& created, bool& isNew) {
    bool isStale = false;
    IfT* const record = FindCreate_(id, name, systemName, created, isNew, isStale);
    if (record == nullptr) return Fail_();
    return isStale || event.RaiseTime() < record->CreatedTime() ? nullptr : record;
}

template<class IfT>
IfT const* Tracker_<IfT>::Find_(CString const& id, char const* what) const {
    auto const* const record = static_cast<IfT const*>(interfaces_.Get(id));
    if (record == nullptr && what != nullptr && (flags_ & DEBUG_) != 0)
        Log(Log::INFO, IfT::TRACKER, ident_.Cstr(), "has no interface \"%1\" for %2") << id << what;
    return record;
}

template<class IfT>
IfT* Tracker_<IfT>::Loopback_(bool& isNew) {
    bool isStale = false;
    IfT* const record = FindCreate_(LOOPBACK, LOOPBACK, "lo", Time::Monotonic(), isNew, isStale);
    return record != nullptr ? record : Fail_();
}

template<class IfT>
bool Tracker_<IfT>::Remove_(CString const& id) {
    delete static_cast<IfT*>(interfaces_.Get(id));
    return interfaces_.Remove(id);
}

template<class IfT>
bool Tracker_<IfT>::OnIfDestroyed(Event::IfDestroyed const& event) {
    auto const* const record = static_cast<IfT const*>(interfaces_.Get(event.Id()));
    if (record == nullptr || record->CreatedTime() > event.CreatedTime() ||
        record->CreatedTime() > event.RaiseTime())
        return false;
    return Remove_(event.Id());
}

template<class IfT>
bool Tracker_<IfT>::OnIfGlobalChanged(Event::IfGlobalChanged const& event) {
    bool isNew = false, isRenamed = false;
    IfT* const record =
        Admit_(event, event.Id(), event.Name(), event.SystemName(), event.CreatedTime(), isNew);
    if (record == nullptr) return false;
    bool const changed = record->SetGlobalPriority(event.GlobalPriority());
    return record->SetName(event.Name(), isRenamed) ? isNew || changed || isRenamed : FailOom_();
}

template<class IfT>
bool Tracker_<IfT>::OnIfPrivateChanged(Event::IfPrivateChanged const& event) {
    bool isNew = false, isRenamed = false;
    IfT* const record =
        Admit_(event, event.Id(), event.Name(), event.SystemName(), event.CreatedTime(), isNew);
    if (record == nullptr) return false;
    bool const changed = record->SetSecurityLevel(event.SecurityLevel());
    return record->SetName(event.Name(), isRenamed) ? isNew || changed || isRenamed : FailOom_();
}

template<class IfT>
bool Tracker_<IfT>::OnIfNameChanged(Event::IfNameChanged const& event) {
    bool isNew = false, isRenamed = false;
    IfT* const record =
        Admit_(event, event.Id(), event.Name(), event.SystemName(), event.CreatedTime(), isNew);
    if (record == nullptr) return false;
    if (!record->SetName(event.Name(), isRenamed)) return FailOom_();
    if (isNew) (void)record->SetSecurityLevel(SECURITY_PUBLIC); // counts as new in any case
    return isNew || isRenamed;
}

// The group itself is never included; a member is while it belongs to the group.
template<class IfT>
bool Tracker_<IfT>::OnIfGroup(Event::IfGroup const& event) {
    if (event.Inherit() != Event::IfGroup::KEEP && event.Inherit() != Event::IfGroup::INHERIT) return false;
    bool isNew = false, isNewGroup = false, isRenamed = false, isRenamedGroup = false;
    IfT* const member =
        Admit_(event, event.Id(), event.Name(), event.SystemName(), event.CreatedTime(), isNew);
    if (member == nullptr) return false;
    IfT* const group = Admit_(event, event.Group(), event.GroupName(), event.GroupSystemName(),
                              event.GroupCreatedTime(), isNewGroup);
    if (group == nullptr) return false;
    if (!member->SetName(event.Name(), isRenamed) || !group->SetName(event.GroupName(), isRenamedGroup))
        return FailOom_();
    bool const changed = member->SetIncluded(event.Action() == Event::IfGroup::INCLUDED);
    bool const groupChanged = group->SetIncluded(false);
    return isNew || isNewGroup || isRenamed || isRenamedGroup || changed || groupChanged;
}

template<class IfT>
SecurityLevelT Tracker_<IfT>::SecurityLevel(CString const& id) const {
    IfT const* const record = Find_(id, "security level");
    return record != nullptr ? record->SecurityLevel() : SECURITY_PUBLIC;
}

template<class IfT>
unsigned long Tracker_<IfT>::GlobalPriority(CString const& id) const {
    IfT const* const record = Find_(id, "global priority");
    return record != nullptr ? record->GlobalPriority() : 0;
}

template<class IfT>
CString const& Tracker_<IfT>::Name(CString const& id) const {
    IfT const* const record = Find_(id, nullptr);
    return record != nullptr ? record->Name() : CString::Nil();
}

template<class IfT>
CString const& Tracker_<IfT>::SystemName(CString const& id) const {
    IfT const* const record = Find_(id, "system name");
    return record != nullptr ? record->SystemName() : CString::Nil();
}

template<class IfT>
bool Tracker_<IfT>::IsIncluded(CString const& id) const {
    IfT const* const record = Find_(id, "included");
    return record != nullptr && record->IsIncluded();
}

template class Tracker_<Ip4If_>;
template class Tracker_<Ip6If_>;

Ip4TrackerBase::~Ip4TrackerBase() = default;

bool Ip4TrackerBase::AddLoopback(SecurityLevelT level) {
    bool isNew = false;
    Ip4If* const record = Loopback_(isNew);
    if (record == nullptr) return false;
    bool const changed = record->SetPrimary(IpBlock(IpAddress::Loopback(), IpMask::_32_BIT));
    return record->SetSecurityLevel(level) || changed || isNew;
}

bool Ip4TrackerBase::OnIfIp4Changed(Event::IfIp4Changed const& event) {
    bool isNew = false, isRenamed = false, isMoved = false;
    Ip4If* const record =
        Admit_(event, event.Id(), event.Name(), event.SystemName(), event.CreatedTime(), isNew);
    if (record == nullptr) return false;
    bool const changed = record->SetGlobalPriority(event.GlobalPriority());
    if (!record->SetName(event.Name(), isRenamed)) return FailOom_();
    bool const isSet = event.Action() == Event::IfIp4Changed::SET;
    if (event.Type() == Event::IfIp4Changed::PRIMARY) {
        isMoved = record->SetPrimary(isSet ? event.Address() : IpBlock::Zero());
    } else if (isSet) {
        if (!record->AddAlias(event.Address(), isMoved)) return FailOom_();
    } else if (event.Action() == Event::IfIp4Changed::REMOVED) {
        isMoved = record->RemoveAlias(event.Address());
    } else {
        return false;
    }
    return isNew || changed || isRenamed || isMoved;
}

IpBlock const& Ip4TrackerBase::Primary(CString const& id) const {
    Ip4If const* const record = Find_(id, "primary address");
    return record != nullptr ? record->Primary() : IpBlock::Zero();
}

Array<IpBlock> const& Ip4TrackerBase::Aliases(CString const& id) const {
    static Array<IpBlock> const none;
    Ip4If const* const record = Find_(id, "aliases");
    return record != nullptr ? record->Aliases() : none;
}

Ip6TrackerBase::~Ip6TrackerBase() = default;

bool Ip6TrackerBase::AddLoopback(SecurityLevelT level) {
    bool isNew = false, isAdded = false;
    Ip6If* const record = Loopback_(isNew);
    if (record == nullptr) return false;
    if (isNew &&
        !record->AddAddress(Ip6::CBlock(Ip6::Address::Loopback(), Ip6::CBlock::HostMask()), isAdded)) {
        (void)Remove_(LOOPBACK); // or the address would never come: the record would not be new again
        return FailOom_();
    }
    return record->SetSecurityLevel(level) || isNew;
}

bool Ip6TrackerBase::OnIfIp6Changed(Event::IfIp6Changed const& event) {
    using EventT = Event::IfIp6Changed;
    bool isNew = false, isRenamed = false, isMoved = false;
    Ip6If* const record =
        Admit_(event, event.Id(), event.Name(), event.SystemName(), event.CreatedTime(), isNew);
    if (record == nullptr) return false;
    bool const changed = record->SetGlobalPriority(event.GlobalPriority());
    if (!record->SetName(event.Name(), isRenamed)) return FailOom_();
    if (event.Address().Addr().IsLinkLocal()) {
        isMoved = record->SetLinkLocal(event.Address());
    } else if (event.Action() == EventT::ADDED || event.Action() == EventT::UPDATED) {
        if (!record->AddAddress(event.Address(), isMoved)) return FailOom_();
    } else if (event.Action() == EventT::REMOVED) {
        isMoved = record->RemoveAddress(event.Address());
    } else {
        return false;
    }
    return isNew || changed || isRenamed || isMoved;
}

Ip6::CBlock const& Ip6TrackerBase::LinkLocal(CString const& id) const {
    Ip6If const* const record = Find_(id, "primary address");
    return record != nullptr ? record->LinkLocal() : Ip6::CBlock::Zero();
}

Array<Ip6::CBlock> const& Ip6TrackerBase::Addresses(CString const& id) const {
    static Array<Ip6::CBlock> const none;
    Ip6If const* const record = Find_(id, "aliases");
    return record != nullptr ? record->Addresses() : none;
}

} // namespace Network::Interface
