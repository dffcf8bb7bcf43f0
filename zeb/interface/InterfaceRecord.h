#pragma once

// What a tracker knows of one interface: what both families have in common. Setters that cannot fail give
// true when the value changed; the others give false when memory ran out, with the record as it was, and say
// what changed in `changed`.

#include "zeb/core/Array.h"
#include "zeb/core/Export.h"
#include "zeb/core/SharedTypes.h"
#include "zeb/core/String.h"
#include "zeb/core/TimeSpan.h"

#include <utility>

namespace Network::Interface {

template<class BlockT>
class ZEB_PUBLIC Record_ {
public:
    // False if memory ran out in construction.
    bool Initialized() const { return (flags_ & INITIALIZED_) != 0; }
    SecurityLevelT SecurityLevel() const { return securityLevel_; }
    unsigned long GlobalPriority() const { return globalPriority_; }
    CString const& Name() const { return name_; }
    CString const& SystemName() const { return systemName_; }
    // The interface belongs to a group.
    bool IsIncluded() const { return (flags_ & INCLUDED_) != 0; }
    // Tells one incarnation of the interface from the next.
    Time::Span const& CreatedTime() const { return createdTime_; }

    bool SetSecurityLevel(SecurityLevelT level) { return std::exchange(securityLevel_, level) != level; }
    bool SetGlobalPriority(unsigned long priority) {
        return std::exchange(globalPriority_, priority) != priority;
    }
    bool SetIncluded(bool included) {
        unsigned const flags = included ? flags_ | INCLUDED_ : flags_ & ~INCLUDED_;
        return std::exchange(flags_, flags) != flags;
    }
    [[nodiscard]] bool SetName(CString const& name, bool& changed) {
        changed = name_ != name;
        return !changed || name_.Assign(name.Cstr(), name.Size()) || (changed = false);
    }
    void SetCreatedTime(Time::Span const& time) { createdTime_ = time; }

protected:
    Record_(CString const& name, CString const& systemName, Time::Span const& created)
        : createdTime_(created) {
        if (name_.Assign(name.Cstr(), name.Size()) &&
            systemName_.Assign(systemName.Cstr(), systemName.Size()))
            flags_ = INITIALIZED_;
    }

    BlockT const& First_() const { return first_; }
    bool SetFirst_(BlockT const& block) {
        bool const changed = !(first_ == block);
        first_ = block;
        return changed;
    }
    Array<BlockT> const& Others_() const { return others_; }
    [[nodiscard]] bool Add_(BlockT const& block, bool& changed) {
        changed = Find_(block) == others_.Size();
        return !changed || others_.PushBack(block) || (changed = false);
    }
    bool Remove_(BlockT const& block) {
        unsigned long const index = Find_(block);
        if (index == others_.Size()) return false;
        others_.Remove(index);
        return true;
    }
    // True when they differed, element by element in order.
    bool Swap_(Array<BlockT>& blocks) {
        bool differ = others_.Size() != blocks.Size();
        for (unsigned long i = 0; !differ && i != blocks.Size(); ++i)
            differ = !(others_[i] == blocks[i]);
        others_.Swap(blocks);
        return differ;
    }

private:
    static constexpr unsigned INITIALIZED_ = 1;
    static constexpr unsigned INCLUDED_ = 2;

    unsigned long Find_(BlockT const& block) const {
        unsigned long i = 0;
        while (i != others_.Size() && !(others_[i] == block))
            ++i;
        return i;
    }

    BlockT first_;
    Array<BlockT> others_;
    SecurityLevelT securityLevel_ = SECURITY_PUBLIC;
    String name_;
    String systemName_;
    unsigned long globalPriority_ = 0;
    Time::Span createdTime_;
    unsigned flags_ = 0;
};

} // namespace Network::Interface
