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

PathT_ Path_(Field_ const& field) {
    PathT_ path;
    if (field.isElement) {
        (void)path.Assignf("[%lu]", field.index); // always fits
    } else {
        (void)path.Assign(field.name); // a long name is cut
    }
    return path;
}

void Join_(PathT_& path, CString const& below) {
    bool const isName = !path.Empty() && !below.Empty() && below[0] != '[';
    PathT_ const above(path);
    (void)path.Assignf("%s%s%s", above.Cstr(), isName ? "." : "", below.Cstr()); // a long one is cut
}

} // namespace

Value::~Value() {
    if (in_ != nullptr) in_->Leave_(*this);
    if (holder_ != nullptr) holder_->Forget_();
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
    if (inner.holder_ == nullptr && inner.above_ == nullptr) {
        inner_ = &inner;
        inner.holder_ = this;
    } else {
        Container_::Invalidate_(&inner);
        state_ = USED;
    }
}

bool Child_::Deliver_(Json::Value const* value, Field_ const& field) {
    if (inner_ == nullptr) return false;
    if (Container_* const container = inner_->AsContainer_()) container->SetPlace_(field);
    bool ok = !inner_->isLost_;
    if (ok && value != nullptr) {
        bool const mayDiffer = inner_->in_ == nullptr || !inner_->in_->isStrict_ || value->IsNull();
        ok = inner_->Get(*value) && (mayDiffer || *inner_);
    } else if (ok) {
        ok = inner_->IsOptional();
    }
    if (ok) return true;
    Container_::Tell_(*inner_, Path_(field));
    Container_::Invalidate_(inner_);
    return false;
}

// The child ends; what it hung stays where it is.
void Child_::Drop_() {
    if (inner_ == nullptr) return;
    if (inner_->in_ != nullptr) inner_->in_->Keep_(*inner_);
    inner_->holder_ = nullptr;
}

// Its getter has ended.
void Child_::Forget_() { inner_ = nullptr; }

Container_::Container_(bool atHand)
    : flags_(atHand ? 0 : CONSUMED)
    , local_(atHand)
    , success_(&local_) {}

Container_::Container_(bool* success)
    : success_(success != nullptr ? success : &local_) {
    *success_ = false;
}

Container_::~Container_() {
    while (Child_* const child = children_.PopFront())
        child->inner_->Unhang_();
    while (Value* const value = kept_.PopFront())
        value->Unhang_();
}

bool Container_::Attach_(Value& parent, Child_& child, Field_ const& field) {
    bool refused = child.state_ == Child_::USED || child.inner_ == nullptr;
    for (Value* above = &parent; above != nullptr; above = above->above_)
        refused = refused || above == child.inner_;
    if (refused) {
        Invalidate_(child.inner_);
        isLost_ = true;
        AddFailure_(Path_(field));
        Tell_(parent, path_);
        Invalidate_(&parent);
        return false;
    }
    child.state_ = Child_::USED;
    child.inner_->above_ = &parent;
    child.inner_->in_ = this;
    children_.PushBack(child);
    return true;
}

// The holder of a getter ends. What still waits to be read cannot be found without it.
void Container_::Keep_(Value& value) {
    children_.Remove(*value.holder_);
    kept_.PushBack(value);
    if ((flags_ & CONSUMED) == 0) isLost_ = true;
}

void Container_::Leave_(Value& value) {
    kept_.Remove(value);
    if (value.holder_ == nullptr) return;
    children_.Remove(*value.holder_);
    if ((flags_ & CONSUMED) == 0) isLost_ = true;
}

void Container_::Invalidate_(Value* value) {
    for (; value != nullptr; value = value->above_)
        value->Invalidate();
}

void Container_::SetPlace_(Field_ const& field) {
    PathT_ const below(FailedField());
    path_ = Path_(field);
    if (hasFailed_) Join_(path_, below);
}

void Container_::AddFailure_(CString const& below) {
    if (!hasFailed_) Join_(path_, below);
    hasFailed_ = true;
}

// Tells all getters above a value, or above what stands for one, what failed in them.
void Container_::Tell_(Value& value, PathT_ text) {
    for (Value* at = &value; at->in_ != nullptr; at = at->above_) {
        if (Container_ const* const container = at->AsContainer_()) text = container->path_;
        at->in_->AddFailure_(text);
        text = at->in_->path_;
    }
}

bool Container_::Consume_(bool isSet) {
    if (isSet || isLost_ || (flags_ & CONSUMED) != 0) return false;
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
    Field_ const field{CString(), at.index_, true};
    // The result stays in the getter.
    if (at.parent_->Attach_(*at.parent_, *this, field)) (void)Deliver_(at.Value(), field);
}

void NValue::Bind_(Iterator& at) {
    name_ = at.Name();
    Field_ const field{name_};
    // The result stays in the getter.
    if (at.parent_->Attach_(*at.parent_, *this, field)) (void)Deliver_(at.Value(), field);
}

bool Object::Get(Json::Value const& value) {
    if (!Consume_(object_ != nullptr)) return false;
    object_ = value.Object();
    return GetChildren_(object_ != nullptr,
                        [this](Child_& child) { return GetMember_(static_cast<NValue&>(child)); });
}

bool Object::AddMember_(Value& parent, NValue& child) {
    return Attach_(parent, child, {child.Name()}) && (!*this || GetMember_(child));
}

bool Object::GetMember_(NValue& child) {
    Json::Object::Member const* const member = object_ != nullptr ? object_->Get(child.Name()) : nullptr;
    return child.Deliver_(member != nullptr ? member->Value() : nullptr, {child.Name()});
}

bool Array::Get(Json::Value const& value) {
    if (!Consume_(array_ != nullptr)) return false;
    Set_(value.Array());
    return GetChildren_(array_ != nullptr,
                        [this](Child_& child) { return GetElement_(static_cast<UValue&>(child)); });
}

bool Array::AddElement_(Value& parent, UValue& child) {
    return Attach_(parent, child, {CString(), index_, true}) && (!*this || GetElement_(child));
}

bool Array::GetElement_(UValue& child) {
    Json::Array::Element const* const element = next_;
    if (element != nullptr) next_ = element->Next();
    return child.Deliver_(element != nullptr ? element->Value() : nullptr, {CString(), index_++, true});
}

} // namespace Json::Getter
