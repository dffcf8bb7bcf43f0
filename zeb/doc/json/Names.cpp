#include "zeb/doc/json/Names.h"

#include <cstdlib>

namespace Json {

Names_::~Names_() { free(table_); }

uint64_t Names_::Hash_(char const* block, unsigned long length, unsigned long size) {
    uint64_t hash = size;
    for (; length >= 8; block += 8, length -= 8)
        hash = Mix_(hash, Load_(block));
    return length != 0 ? Mix_(hash, LoadPart_(block, length)) : hash;
}

bool Names_::AddMany_(Object const& object, CString const& name, unsigned long length, bool& found) {
    if (!Prepare_(object)) return false;
    found = !Put_(name, Hash_(name.Cstr(), length, name.Size()));
    ++count_;
    return true;
}

// Makes room for one more name; at most half of the slots are in use.
bool Names_::Prepare_(Object const& object) {
    if (2 * (count_ + 1) <= capacity_) return true;
    bool const first = capacity_ == 0;
    if (!Grow_(first ? FIRST_CAPACITY : 2 * capacity_)) return false;
    if (!first) return true;
    for (Object::Member const* member = object.First(); member != nullptr; member = member->Next()) {
        CString const& name = member->Name();
        Put_(name, Hash_(name.Cstr(), strnlen(name.Cstr(), name.Size()), name.Size()));
    }
    return true;
}

bool Names_::Grow_(unsigned long capacity) {
    Slot_* const table = static_cast<Slot_*>(calloc(capacity, sizeof(Slot_)));
    if (table == nullptr) return false;
    for (unsigned long i = 0; i < capacity_; ++i) {
        if (table_[i].data == nullptr) continue;
        unsigned long at = table_[i].hash & (capacity - 1);
        while (table[at].data != nullptr)
            at = (at + 1) & (capacity - 1);
        table[at] = table_[i];
    }
    free(table_);
    table_ = table;
    capacity_ = capacity;
    return true;
}

// False, with nothing done, when the name is there.
bool Names_::Put_(CString const& name, uint64_t hash) {
    unsigned long at = hash & (capacity_ - 1);
    for (; table_[at].data != nullptr; at = (at + 1) & (capacity_ - 1)) {
        Slot_ const& slot = table_[at];
        if (slot.hash == hash && CString(slot.data, slot.size) == name) return false;
    }
    table_[at] = Slot_{hash, name.Cstr(), name.Size()};
    return true;
}

} // namespace Json
