#pragma once

// Event::Delegate<T, E>: a handler, as Subscribe() and aimed events take it: a member function of an object
// of the class T, for events of the class E. As a member of that object:
//
//   class Led {
//   public:
//       Led() { good_ = Event::Subscribe(onSpeed_); }
//       ~Led() { Event::Unsubscribe(onSpeed_); }
//
//   private:
//       void OnSpeed_(Event::IfLinkSpeedChanged const& event); // mutex_ is held
//
//       Mutex mutex_{Mutex::LED_CONTROL};
//       Event::Delegate<Led, Event::IfLinkSpeedChanged> const onSpeed_{"Led", this, &Led::OnSpeed_, &mutex_};
//       bool good_ = false;
//   };
//
// With the class of the event named, a handler that does not take it does not compile, and no text of a type
// is written. Delegate<T> leaves it open, for one handler of many types: it is subscribed by a text, and an
// event of a class that the handler does not take is logged and not handed to it.
//
// The handler may be constant, inherited, virtual or private, and take E or a base of it.
//
// Owns       nothing: object, lock and ident outlive the subscription
// Threads    the handler runs on the thread of the bus, with the lock held; what it may do there is in Bus.h

#include "zeb/event/Base.h"
#include "zeb/event/BaseDelegate.h"

#include <bit>
#include <new>
#include <type_traits>

namespace Event {

// A member function of C that takes P is a handler of events E for an object of the class T.
template<class T, class E, class C, class P>
concept HandlerOf_ = std::is_base_of_v<C, T> && std::is_base_of_v<Base, P> &&
    (std::is_same_v<E, Base> || std::is_base_of_v<P, E>);

template<class T, class E = Base>
class Delegate final : public BaseDelegate {
public:
    // The lock may be null: the handler is then called without one.
    template<class C, class P>
    requires HandlerOf_<T, E, C, P> Delegate(char const* ident, T* object, void (C::*method)(P const&),
                                             Mutex const* lock)
        : Delegate(ident, object, static_cast<void (T::*)(P const&)>(method), lock, &Call_<P>) {}
    template<class C, class P>
    requires HandlerOf_<T, E, C, P> Delegate(char const* ident, T* object, void (C::*method)(P const&) const,
                                             Mutex const* lock)
        : Delegate(ident, object, static_cast<void (T::*)(P const&) const>(method), lock, &CallConst_<P>) {}

    [[nodiscard]] BaseDelegate* Clone() const override { return new (std::nothrow) Delegate(*this); }
    void Handle(Base const& event) override { call_(*this, event); }

private:
    using MethodT_ = void (T::*)(Base const&);
    using CallT_ = void (*)(Delegate const& self, Base const& event);

    Delegate(Delegate const&) = default;

    template<typename M>
    Delegate(char const* ident, T* object, M method, Mutex const* lock, CallT_ call)
        : BaseDelegate(ident, object, &method, sizeof(method), lock)
        , target_(object)
        , method_(std::bit_cast<MethodT_>(method))
        , call_(call) {
        static_assert(sizeof(method) <= METHOD_SIZE);
    }

    template<class P>
    static void Call_(Delegate const& self, Base const& event) {
        self.template Give_<P>(std::bit_cast<void (T::*)(P const&)>(self.method_), event);
    }
    template<class P>
    static void CallConst_(Delegate const& self, Base const& event) {
        self.template Give_<P>(std::bit_cast<void (T::*)(P const&) const>(self.method_), event);
    }

    template<class P, typename M>
    void Give_(M method, Base const& event) const {
        if constexpr (std::is_same_v<P, Base>) {
            (target_->*method)(event);
        } else if (auto const* const typed = dynamic_cast<P const*>(&event)) {
            (target_->*method)(*typed);
        } else {
            RefuseClass_(event);
        }
    }

    T* target_;
    MethodT_ method_;
    CallT_ call_;
};

} // namespace Event
