#pragma once

// Event::Fields<T...>: the payload of an event class, its one description: values of these types, in the
// order of the accessors. It stores, fills and copies them; the class adds a name to each by its accessor:
//
//     class ZEB_PUBLIC Sms : public Base {
//     public:
//         static constexpr char IDENT[] = "Event::Type::Sms";
//
//         Sms(CString const& interfaceId, CString const& messageId) {
//             SetInitialized_(fields_.Assign(interfaceId, messageId));
//         }
//         char const* Ident() const override;
//         String const& InterfaceId() const { return fields_.At<0>(); }
//         String const& MessageId() const { return fields_.At<1>(); }
//
//     private:
//         Base* Clone_() const override; // return fields_.Clone<Sms>();
//
//         Fields<String, String> fields_;
//     };
//
// A text is taken as CString and kept as String; a map, a list or a document is copied by its Assign(); every
// other value is kept as it is, and its parameter has the type of the field: nothing is converted on its way
// in. The copy of a text, a map or a list can fail; the event then says so by Initialized(). At<N>() is the
// field of that place.

#include "zeb/event/Base.h"

#include <cstdint>
#include <new>
#include <type_traits>

namespace Event {

// The new event; null if there is none or a copy into it failed, in which case it is destroyed.
ZEB_PUBLIC Base* Settle_(Base* clone);

template<class EventT, typename... ArgumentsT>
Base* New_(ArgumentsT const&... arguments) {
    return Settle_(new (std::nothrow) EventT(arguments...));
}

template<typename... FieldsT>
class Fields;

template<>
class Fields<> {
public:
    bool Assign() { return true; }

    template<class EventT, typename... ArgumentsT>
    Base* Clone(ArgumentsT const&... arguments) const {
        return New_<EventT>(arguments...);
    }
};

template<typename FirstT, typename... RestT>
class Fields<FirstT, RestT...> {
public:
    // One argument for each of the leading fields; the others stay empty or zero. False when memory ran out,
    // with the fields behind the failing one untouched.
    [[nodiscard]] bool Assign() { return true; }
    template<typename ArgumentT, typename... ArgumentsT>
    [[nodiscard]] bool Assign(ArgumentT const& argument, ArgumentsT const&... arguments) {
        return Set_(argument) && rest_.Assign(arguments...);
    }

    template<unsigned INDEX>
    auto const& At() const {
        if constexpr (INDEX == 0) {
            return first_;
        } else {
            return rest_.template At<INDEX - 1>();
        }
    }
    template<unsigned INDEX>
    auto& At() {
        if constexpr (INDEX == 0) {
            return first_;
        } else {
            return rest_.template At<INDEX - 1>();
        }
    }

    // A new event, whose constructor takes the fields as they stand here. Null when memory ran out.
    template<class EventT, typename... ArgumentsT>
    Base* Clone(ArgumentsT const&... arguments) const {
        return rest_.template Clone<EventT>(arguments..., first_);
    }

private:
    template<typename ArgumentT>
    bool Set_(ArgumentT const& argument) {
        if constexpr (std::is_copy_assignable_v<FirstT>) {
            static_assert(std::is_same_v<FirstT, ArgumentT>, "a value is never converted on its way in");
            first_ = argument;
            return true;
        } else {
            return first_.Assign(argument);
        }
    }

    FirstT first_{};
    [[no_unique_address]] Fields<RestT...> rest_;
};

} // namespace Event
