#pragma once

// A way through the items below a container. It climbs by the parents, so that a tree of any depth needs no
// stack. Internal to the library.

#include "zeb/doc/json/Value.h"

namespace Json {

class Cursor_ {
public:
    // At the first item.
    explicit Cursor_(Json::Value const& container) { Enter(container); }

    // The container whose items it goes through.
    Json::Value const& Owner() const { return *owner_; }
    bool InObject() const { return owner_->IsObject(); }
    bool AtEnd() const { return spot_ == nullptr; }

    Json::Value const& Value() const {
        return InObject() ? *Member_()->Value() : *static_cast<Array::Element const*>(spot_)->Value();
    }
    // The item as an Array::Element or an Object::Member, for a loop of its own over items that are not
    // entered.
    template<class ItemT>
    ItemT const* Item() const {
        return static_cast<ItemT const*>(spot_);
    }
    void SetItem(void const* item) { spot_ = item; }

    // Of the item, in an object.
    CString const& Name() const { return Member_()->Name(); }
    // Of the container, in the object that it is a member of.
    CString const& OwnerName() const {
        return static_cast<Object::Member const*>(owner_->number_.place)->Name();
    }

    void Next() {
        if (InObject()) {
            spot_ = Member_()->Next();
        } else {
            spot_ = static_cast<Array::Element const*>(spot_)->Next();
        }
    }
    void Enter(Json::Value const& container) {
        owner_ = &container;
        if (InObject()) {
            spot_ = container.Object()->First();
        } else {
            spot_ = container.Array()->First();
        }
    }
    // Back to the container, as an item of its own container.
    void Leave() {
        spot_ = owner_->number_.place;
        owner_ = owner_->Parent();
    }

private:
    Object::Member const* Member_() const { return static_cast<Object::Member const*>(spot_); }

    Json::Value const* owner_ = nullptr;
    void const* spot_ = nullptr; // an element or a member
};

} // namespace Json
