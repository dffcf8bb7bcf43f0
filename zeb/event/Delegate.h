#pragma once

// Event::Delegate<T>: the address of a member function of a T, for Subscribe() and for aimed events:
//
//   class Led {
//       void OnSpeed_(Event::IfLinkSpeedChanged const& event);
//       Mutex mutex_{Mutex::LED_CONTROL};
//       Event::Delegate<Led> const onSpeed_{"Led", this, &Led::OnSpeed_, &mutex_};
//   };
//
// The handler takes Event::Base or the one event class that it is subscribed to: the bus calls it with that
// class. It runs on the thread of the bus with the lock held. The object outlives its subscriptions.

#include "zeb/event/Base.h"
#include "zeb/event/BaseDelegate.h"

#include <bit>
#include <new>
#include <type_traits>

namespace Event {

template<class T>
class Delegate final : public BaseDelegate {
public:
    // The lock may be null: the handler is then called without one.
    template<class E>
    Delegate(char const* ident, T* object, void (T::*method)(E const&), Mutex const* lock)
        : BaseDelegate(ident, object, &method, sizeof(method), lock)
        , target_(object)
        , method_(std::bit_cast<MethodT_>(method))
        , call_(&Call_<E>) {
        static_assert(std::is_base_of_v<Base, E>, "a handler takes an event");
        static_assert(sizeof(method) <= METHOD_SIZE);
    }

    BaseDelegate* Clone() const override { return new (std::nothrow) Delegate(*this); }
    void Handle(Base const& event) override { call_(*this, event); }

private:
    using MethodT_ = void (T::*)(Base const&);

    Delegate(Delegate const&) = default;

    template<class E>
    static void Call_(Delegate const& self, Base const& event) {
        auto const method = std::bit_cast<void (T::*)(E const&)>(self.method_);
        (self.target_->*method)(static_cast<E const&>(event));
    }

    T* target_;
    MethodT_ method_;
    void (*call_)(Delegate const& self, Base const& event);
};

} // namespace Event
