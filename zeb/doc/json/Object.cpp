#include "zeb/doc/json/Object.h"

#include "zeb/core/Log.h"
#include "zeb/doc/json/Document.h"
#include "zeb/doc/json/Names.h"

namespace Json {

Object::Member* Object::Get(CString const& name) {
    Member* member = first_;
    while (member != nullptr && !(member->name_ == name))
        member = member->next_;
    return member;
}

Object::Member const* Object::Get(CString const& name) const { return const_cast<Object*>(this)->Get(name); }

bool Object::IsNull(CString const& name) const {
    Member const* const member = Get(name);
    return member != nullptr && member->value_->IsNull();
}

void Object::Warn_(CString const& name) const {
    Log(Log::WARNING, IDENT, nullptr, "AppendMember: duplicate key: \"%1\"") << name;
}

// Whether a member of that name is linked already; then the new one counts as linked too.
bool Object::IsKnown_(Member const& member) {
    constexpr unsigned FEW = 32;
    Names_*& names = owner_->array_.names_;
    if (names == nullptr) {
        unsigned count = 0;
        for (Member const* other = first_; other != nullptr; other = other->next_, ++count)
            if (other->name_ == member.name_) return true;
        if (count >= FEW) names = Names_::Make(document_->pool_);
        if (names == nullptr) return false;
    }
    bool found = false;
    return names->Add(*this, member, found) ? found : Get(member.name_) != nullptr;
}

Json::Value* Object::Append_(Json::String const& name, Json::Value* value) {
    if (value == nullptr || !document_->Valid()) return nullptr;
    value = owner_->Own_(value);
    void* const block = value != nullptr ? document_->Allocate_(sizeof(Member)) : nullptr;
    if (block == nullptr) return nullptr;
    Member* const member = new (block) Member(name, value);
    if (IsKnown_(*member)) Warn_(name);
    Link_(member);
    return value;
}

// The name goes into the pool ahead of the value.
template<class Make>
Json::Value* Object::AppendNew_(CString const& name, Make make) {
    Json::String const copy = document_->Allocate_(name);
    return Append_(copy, make(*owner_));
}

Json::Value* Object::AppendItem_(CString const& name, Json::Value const& item) {
    return AppendNew_(name, [&](Json::Value& owner) { return item.CopyItem_(*owner.Doc()); });
}

Json::Value* Object::Append(CString const& name, NullT const&) {
    return AppendNew_(name, [](Json::Value& owner) { return owner.AllocateNull_(); });
}

Json::Value* Object::Append(CString const& name, bool value) {
    return AppendNew_(name, [=](Json::Value& owner) { return owner.AllocateBool_(value); });
}

Json::Value* Object::Append(CString const& name, char const* text) { return Append(name, CString(text)); }

Json::Value* Object::Append(CString const& name, CString const& text) {
    return AppendNew_(name, [&](Json::Value& owner) { return owner.AllocateString_(text); });
}

Json::Value* Object::Append(CString const& name, long long value) {
    return AppendNew_(name, [=](Json::Value& owner) { return owner.AllocateSigned_(value); });
}

Json::Value* Object::Append(CString const& name, unsigned long long value) {
    return AppendNew_(name, [=](Json::Value& owner) { return owner.AllocateUnsigned_(value); });
}

Json::Value* Object::Append(CString const& name, double value) {
    return AppendNew_(name, [=](Json::Value& owner) { return owner.AllocateDouble_(value); });
}

Json::Object* Object::AppendObject(CString const& name) {
    Json::Value* const value = AppendNew_(name, [](Json::Value& owner) { return owner.AllocateObject_(); });
    return value != nullptr ? value->Object() : nullptr;
}

Json::Array* Object::AppendArray(CString const& name) {
    Json::Value* const value = AppendNew_(name, [](Json::Value& owner) { return owner.AllocateArray_(); });
    return value != nullptr ? value->Array() : nullptr;
}

Json::Value* Object::AppendCopy(CString const& name, Json::Value const* value) {
    return AppendNew_(name, [=](Json::Value& owner) {
        return value != nullptr ? value->Copy_(*owner.Doc()) : owner.AllocateNull_();
    });
}

bool Object::Clone_(Json::Object const& from) {
    Member const* const last = from.first_ != nullptr ? from.last_ : nullptr; // this may be `from`
    for (Member const* member = from.first_; member != nullptr;
         member = member != last ? member->next_ : nullptr)
        if (AppendCopy(member->name_, member->value_) == nullptr) return false;
    return true;
}

bool Object::Remove(Member* member) {
    if (member == nullptr || member->value_->parent_ != owner_) return false;
    (member->prev_ != nullptr ? member->prev_->next_ : first_) = member->next_;
    (member->next_ != nullptr ? member->next_->prev_ : last_) = member->prev_;
    member->value_->parent_ = nullptr;
    if (Names_* const names = owner_->array_.names_) names->Forget();
    return true;
}

} // namespace Json
