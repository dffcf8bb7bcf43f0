#pragma once

// What the getters of Getter.h are made of: Value, which reads one value and may be derived from, Scalar,
// which reads one item into a variable, and inside of the library the places and containers below which they
// hang. Ownership, threads and failure are told there.

#include "zeb/core/Intrusive.h"
#include "zeb/core/RString.h"
#include "zeb/doc/json/Kind.h"
#include "zeb/doc/json/Value.h"

namespace Json::Getter {

class Child_;
class Container_;

// What reads one value. Clients may derive getters of their own, for a leaf with a format of its own.
class ZEB_PUBLIC Value {
public:
    virtual ~Value();
    // A value has been obtained.
    virtual operator bool() const = 0;
    // It may be missing.
    virtual bool IsOptional() const = 0;
    virtual void Invalidate() = 0;
    // False fails the getters above.
    virtual bool Get(Json::Value const& value) = 0;

    Value(Value const&) = delete;
    Value& operator=(Value const&) = delete;

protected:
    Value() = default;

private:
    friend class Child_;
    friend class Container_;

    virtual Container_* AsContainer_() { return nullptr; }
    void Unhang_() {
        above_ = nullptr;
        in_ = nullptr;
    }

    Child_* holder_ = nullptr; // through which it hangs in another getter
    Value* above_ = nullptr;   // what it hangs in, also when the holder has ended
    Container_* in_ = nullptr; // the container whose children have it
    bool isLost_ = false;      // something below it was refused, or ended before it was read
    Intrusive::Hook hook_;     // in the list of those whose holder has ended
};

// Reads one item into a variable.
class ZEB_PUBLIC Scalar : public Value {
public:
    template<IsItem T>
    explicit Scalar(T& target)
        : Scalar(KIND_OF<T>, 0, &target) {}
    // A null target reads nothing.
    template<IsItem T>
    explicit Scalar(T const** target)
        : Scalar(KIND_OF<T>, OPTIONAL, target) {}

    operator bool() const override { return (flags_ & INVALID) == 0; }
    bool IsOptional() const override { return (flags_ & OPTIONAL) != 0; }
    // Zeroes the variable, or the pointer of an optional scalar.
    void Invalidate() override;
    // An optional scalar takes any value, once.
    bool Get(Json::Value const& value) override;

private:
    static constexpr uint8_t OPTIONAL = 1;
    static constexpr uint8_t INVALID = 2;
    static constexpr uint8_t CONSUMED = 4;

    Scalar(KindT kind, uint8_t flags, void* target);
    void Store_(void const* item);

    uint8_t flags_;
    KindT kind_;
    void* target_; // T*, or T const** of an optional scalar
};

// Internal. A field by its name, or by its index in an array.
struct Field_ {
    CString name;
    unsigned long index = 0;
    bool isElement = false;
};

// Internal. The place of a getter below another one.
class ZEB_PUBLIC Child_ {
public:
    operator bool() const { return inner_ != nullptr && *inner_; }

    Child_(Child_ const&) = delete;
    Child_& operator=(Child_ const&) = delete;

protected:
    Child_() = default;
    ~Child_() { Drop_(); }

    void Hold_(Value& inner);
    // Null is a value that is missing.
    bool Deliver_(Json::Value const* value, Field_ const& field);

private:
    friend class Array;
    friend class Container_;
    friend class Object;
    friend class Value;

    enum StateT : uint32_t { FREE = 0, USED = 1 }; // it hangs somewhere, or did so, or never may

    void Drop_();
    void Forget_();

    StateT state_ = FREE;
    Value* inner_ = nullptr;
    Intrusive::Hook hook_;

public:
    using ListT_ = Intrusive::List<Child_, &Child_::hook_>;
};

// Internal. The way to a field, cut to what fits.
using PathT_ = RString<80>;

// Internal. What Object and Array have in common.
class ZEB_PUBLIC Container_ : public Value {
public:
    ~Container_() override;
    operator bool() const override { return *success_; }
    bool IsOptional() const override { return success_ != &local_; }
    void Invalidate() override { *success_ = false; }

    // The way from this getter to what failed it first, as "wan.id" or "lan[2].name", cut to what fits; empty
    // while nothing failed, and for a getter on a null container. Of a getter that hangs in another one it
    // begins with its own name there. The view ends with the getter.
    CString FailedField() const { return hasFailed_ ? CString(path_) : CString(); }

    // Internal. Hangs the child below the parent, whose children are those of this container. A child that
    // hung somewhere already, or stands above the parent, is refused, which invalidates both and all above.
    bool Attach_(Value& parent, Child_& child, Field_ const& field);

protected:
    // At hand, or not there at all.
    explicit Container_(bool atHand);
    explicit Container_(bool* success);

    // Of a new Get(): whether the container may still be set.
    bool Consume_(bool isSet);
    template<class F>
    bool GetChildren_(bool atHand, F get);
    void SetStrict_() { isStrict_ = true; }

private:
    friend class Child_;
    friend class Value;

    static constexpr uint8_t CONSUMED = 4;
    using KeptT_ = Intrusive::List<Value, &Value::hook_>;

    Container_* AsContainer_() override { return this; }
    void SetPlace_(Field_ const& field);
    void AddFailure_(CString const& below);
    static void Tell_(Value& value, PathT_ text);
    // The value and all above it.
    static void Invalidate_(Value* value);
    void Keep_(Value& value);
    void Leave_(Value& value);

    uint8_t flags_ = 0;
    bool local_ = false;
    bool isStrict_ = false;
    bool hasFailed_ = false;
    bool* success_;
    Child_::ListT_ children_;
    KeptT_ kept_; // hang here, and their holders have ended
    PathT_ path_; // its own place, and behind it, once that is known, what failed
};

} // namespace Json::Getter
