#include "zeb/doc/json/Names.h"

#include <cstdlib>
#include <new>

namespace Json {

Names_::~Names_() {
    if (pool_ == nullptr) free(table_);
}

Names_* Names_::Make(PoolBase& pool) {
    void* const block = pool.Alloc(sizeof(Names_));
    return block != nullptr ? new (block) Names_(pool) : nullptr;
}

uint64_t Names_::Hash_(char const* block, unsigned long length, unsigned long size) {
    uint64_t hash = size;
    for (; length >= 8; block += 8, length -= 8)
        hash = Mix_(hash, Load_(block));
    return length != 0 ? Mix_(hash, LoadPart_(block, length)) : hash;
}

// At most half of the slots are in use.
bool Names_::AddMany_(Object const& object, Object::Member const& member, unsigned long length, bool& found) {
    if (!isWhole_ || 2 * (count_ + 1) > capacity_) isWhole_ = Rebuild_(object);
    if (!isWhole_) return false;
    found = !Put_(member, Hash_(member.Name(), length));
    ++count_;
    return true;
}

// A table of all members, with room for one more.
bool Names_::Rebuild_(Object const& object) {
    unsigned long members = 0;
    for (Object::Member const* member = object.First(); member != nullptr; member = member->Next())
        ++members;
    unsigned long capacity = capacity_ != 0 ? capacity_ : FIRST_CAPACITY;
    while (2 * (members + 1) > capacity)
        capacity *= 2;
    if (!Resize_(capacity)) return false;
    for (Object::Member const* member = object.First(); member != nullptr; member = member->Next())
        Put_(*member, Hash_(member->Name(), Length_(member->Name())));
    count_ = members > FEW ? members : FEW; // a table once is one for good
    return true;
}

// An empty table of that many slots.
bool Names_::Resize_(unsigned long capacity) {
    unsigned long const size = capacity * sizeof(Slot_);
    if (capacity != capacity_) {
        auto* const table = static_cast<Slot_*>(pool_ != nullptr ? pool_->Alloc(size) : malloc(size));
        if (table == nullptr) return false;
        if (pool_ == nullptr) free(table_);
        table_ = table;
        capacity_ = capacity;
    }
    memset(table_, 0, size);
    return true;
}

// False, with nothing done, when the name is there.
bool Names_::Put_(Object::Member const& member, uint64_t hash) {
    unsigned long at = hash & (capacity_ - 1);
    for (; table_[at].member != nullptr; at = (at + 1) & (capacity_ - 1)) {
        Slot_ const& slot = table_[at];
        if (slot.hash == hash && slot.member->Name() == member.Name()) return false;
    }
    table_[at] = Slot_{hash, &member};
    return true;
}

} // namespace Json
