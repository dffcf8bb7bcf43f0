#include "zeb/doc/json/Getter.h"

#include <cstring>

namespace Json::Getter {

namespace {

// What is copied bytewise. A string is not, and a null has nothing to copy.
constexpr uint8_t SIZES[KINDS] = {
    0,
    sizeof(bool),
    0,
    sizeof(char),
    sizeof(unsigned char),
    sizeof(short),
    sizeof(unsigned short),
    sizeof(int),
    sizeof(unsigned int),
    sizeof(long),
    sizeof(unsigned long),
    sizeof(long long),
    sizeof(unsigned long long),
    sizeof(double),
};

void const* Item(Json::Value const& value, KindT kind) {
    switch (kind) {
    case KIND_NULL:
        return value.NullPtr();
    case KIND_BOOL:
        return value.BoolPtr();
    case KIND_STRING:
        return value.StringPtr();
    case KIND_CHAR:
        return value.CharPtr();
    case KIND_UCHAR:
        return value.UCharPtr();
    case KIND_SHORT:
        return value.ShortPtr();
    case KIND_USHORT:
        return value.UShortPtr();
    case KIND_INT:
        return value.IntPtr();
    case KIND_UINT:
        return value.UIntPtr();
    case KIND_LONG:
        return value.LongPtr();
    case KIND_ULONG:
        return value.ULongPtr();
    case KIND_LONGLONG:
        return value.LongLongPtr();
    case KIND_ULONGLONG:
        return value.ULongLongPtr();
    case KIND_DOUBLE:
        return value.DoublePtr();
    case KINDS:
        break;
    }
    return nullptr;
}

} // namespace

Value::~Value() {
    if (holder_ != nullptr) holder_->Drop_();
}

Scalar::Scalar(KindT kind, uint8_t flags, void* target)
    : flags_(flags)
    , kind_(kind)
    , target_(target) {
    Invalidate();
}

// A null item zeroes.
void Scalar::Store_(void const* item) {
    unsigned long const size = kind_ < KINDS ? SIZES[kind_] : 0;
    if (IsOptional()) {
        if (target_ != nullptr) memcpy(target_, &item, sizeof(item));
    } else if (kind_ == KIND_STRING) {
        static_cast<CString*>(target_)->Reset(item ? *static_cast<CString const*>(item) : CString::Nil());
    } else if (item != nullptr) {
        memcpy(target_, item, size);
    } else {
        memset(target_, 0, size);
    }
    flags_ = item != nullptr ? flags_ & ~INVALID : flags_ | INVALID;
}

void Scalar::Invalidate() { Store_(nullptr); }

bool Scalar::Get(Json::Value const& value) {
    bool const again = (flags_ & CONSUMED) != 0;
    void const* const item = IsOptional() && again ? nullptr : Item(value, kind_);
    Store_(item);
    flags_ |= CONSUMED;
    return IsOptional() ? !again : item != nullptr;
}

// A getter has one place: a second one holds nothing, since it would not learn of the getter's end, and fails
// it.
void Child_::Hold_(Value& inner) {
    if (inner.holder_ == nullptr) {
        inner_ = &inner;
        inner.holder_ = this;
    } else {
        Invalidate_(&inner);
        state_ = USED;
    }
}

void Child_::Invalidate_(Value* value) {
    for (; value != nullptr; value = Above_(*value))
        value->Invalidate();
}

bool Child_::Deliver_(Json::Value const* value) {
    if (inner_ == nullptr) return false;
    if (value != nullptr ? inner_->Get(*value) : inner_->IsOptional()) return true;
    Invalidate_(inner_);
    return false;
}

void Child_::Unlink_() {
    if (list_ != nullptr) list_->Remove(*this);
    list_ = nullptr;
    parent_ = nullptr;
}

// The child or its getter ends.
void Child_::Drop_() {
    Unlink_();
    if (inner_ != nullptr && inner_->holder_ == this) inner_->holder_ = nullptr;
    inner_ = nullptr;
}

Container_::Container_(bool atHand)
    : flags_(atHand ? 0 : CONSUMED)
    , local_(atHand)
    , success_(&local_) {}

Container_::Container_(bool* success)
    : success_(success != nullptr ? success : &local_) {
    *success_ = false;
}

Container_::~Container_() {
    while (Child_* const child = children_.Front())
        child->Unlink_();
}

bool Container_::Attach_(Value& parent, Child_& child) {
    bool refused = child.state_ == Child_::USED || child.inner_ == nullptr;
    for (Value* above = &parent; above != nullptr; above = Child_::Above_(*above))
        refused = refused || above->holder_ == &child;
    if (refused) {
        Child_::Invalidate_(child.inner_);
        Child_::Invalidate_(&parent);
        return false;
    }
    child.state_ = Child_::USED;
    child.parent_ = &parent;
    child.list_ = &children_;
    children_.PushBack(child);
    return true;
}

bool Container_::Consume_(bool isSet) {
    if (isSet || (flags_ & CONSUMED) != 0) return false;
    flags_ |= CONSUMED;
    return true;
}

template<class F>
bool Container_::GetChildren_(bool atHand, F get) {
    *success_ = false;
    if (!atHand) return IsOptional();
    for (Child_& child : children_)
        if (!get(child)) return false;
    return *success_ = true;
}

void UValue::Bind_(Iterator& at) {
    if (at.parent_->Attach_(*at.parent_, *this)) (void)Deliver_(at.Value()); // the result stays in the getter
}

void NValue::Bind_(Iterator& at) {
    name_ = at.Name();
    if (at.parent_->Attach_(*at.parent_, *this)) (void)Deliver_(at.Value()); // the result stays in the getter
}

bool Object::Get(Json::Value const& value) {
    if (!Consume_(object_ != nullptr)) return false;
    object_ = value.Object();
    return GetChildren_(object_ != nullptr,
                        [this](Child_& child) { return GetMember_(static_cast<NValue&>(child)); });
}

bool Object::AddMember_(Value& parent, NValue& child) {
    return Attach_(parent, child) && (!*this || GetMember_(child));
}

bool Object::GetMember_(NValue& child) {
    Json::Object::Member const* const member = object_ != nullptr ? object_->Get(child.Name()) : nullptr;
    return child.Deliver_(member != nullptr ? member->Value() : nullptr);
}

bool Array::Get(Json::Value const& value) {
    if (!Consume_(array_ != nullptr)) return false;
    Set_(value.Array());
    return GetChildren_(array_ != nullptr,
                        [this](Child_& child) { return GetElement_(static_cast<UValue&>(child)); });
}

bool Array::AddElement_(Value& parent, UValue& child) {
    return Attach_(parent, child) && (!*this || GetElement_(child));
}

bool Array::GetElement_(UValue& child) {
    Json::Array::Element const* const element = next_;
    if (element != nullptr) next_ = element->Next();
    return child.Deliver_(element != nullptr ? element->Value() : nullptr);
}

} // namespace Json::Getter
