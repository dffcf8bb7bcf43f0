#pragma once

// Event::BaseDelegate: the address of a handler: an object, a member function of it, and the lock that is
// held during a call. Client code makes an Event::Delegate; the bus keeps clones.

#include "zeb/core/CString.h"
#include "zeb/core/Export.h"

class Mutex;

namespace Event {

class Base;

class ZEB_PUBLIC BaseDelegate {
public:
    virtual ~BaseDelegate();

    // A copy on the heap; null if memory ran out.
    virtual BaseDelegate* Clone() const = 0;
    virtual void Handle(Base const& event) = 0;

    BaseDelegate& operator=(BaseDelegate const&) = delete;

    CString const& Ident() const { return ident_; }
    void const* Object() const { return object_; }
    Mutex const* Lock() const { return lock_; }

    // The same member function of the same object. The ident and the lock take no part.
    bool operator==(BaseDelegate const& other) const;

protected:
    static constexpr unsigned long METHOD_SIZE = 16;

    // The ident is kept as a view and outlives the delegate and its clones. The lock may be null. The method
    // is a pointer to a member function, of which at most METHOD_SIZE bytes are kept for comparison.
    BaseDelegate(char const* ident, void const* object, void const* method, unsigned long methodSize,
                 Mutex const* lock);
    BaseDelegate(BaseDelegate const&) = default;

private:
    CString ident_;
    void const* object_;
    unsigned char method_[METHOD_SIZE] = {};
    Mutex const* lock_;
};

} // namespace Event
