#pragma once

// Event::BaseDelegate: the address of a handler: an object, a member function of it, and the lock that is
// held during a call. Client code makes an Event::Delegate (Delegate.h); the bus keeps clones.
//
// Owns       nothing: the ident is a view, and so is the lock. Both, and the object, outlive the subscription
// Threads    any; a delegate does not change
// Memory     taken by Clone() alone

#include "zeb/core/CString.h"
#include "zeb/core/Export.h"

class Mutex;

// The argument of that place, counted from `this`, is an address: what lies there may still be unborn.
#if defined(__GNUC__) && !defined(__clang__)
#define ZEB_ADDRESS_ONLY(place) __attribute__((access(none, place)))
#else
#define ZEB_ADDRESS_ONLY(place)
#endif

namespace Event {

class Base;

class ZEB_PUBLIC BaseDelegate {
public:
    virtual ~BaseDelegate();

    // A copy on the heap; null if memory ran out.
    [[nodiscard]] virtual BaseDelegate* Clone() const = 0;

    // The call itself, by the bus, with the lock held.
    virtual void Handle(Base const& event) = 0;

    BaseDelegate& operator=(BaseDelegate const&) = delete;

    // The name of the acceptor in log lines, and the one to unsubscribe it by.
    CString const& Ident() const { return ident_; }
    void const* Object() const { return object_; }
    // Null for a handler that is called without one.
    Mutex const* Lock() const { return lock_; }

    // The same member function of the same object. The ident and the lock take no part.
    bool operator==(BaseDelegate const& other) const;

protected:
    static constexpr unsigned long METHOD_SIZE = 16;

    // The method is a pointer to a member function, of which at most METHOD_SIZE bytes are kept for
    // comparison.
    ZEB_ADDRESS_ONLY(3)
    BaseDelegate(char const* ident, void const* object, void const* method, unsigned long methodSize,
                 Mutex const* lock);
    BaseDelegate(BaseDelegate const&) = default;

    // Logs that the event is not of the class that the handler takes.
    void RefuseClass_(Base const& event) const;

private:
    CString ident_;
    void const* object_;
    unsigned char method_[METHOD_SIZE] = {};
    Mutex const* lock_;
};

} // namespace Event

#undef ZEB_ADDRESS_ONLY
