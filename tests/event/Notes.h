// A test's own event.
#pragma once

#include "tests/runtime/Worker.h"
#include "workbench/EventAcceptor.h"

#include <string>
#include <utility>

struct Note : Event::Base {
    static constexpr char IDENT[] = "Event::Type::Note";

    explicit Note(int value, char const* type = IDENT, bool good = true)
        : value_(value)
        , type_(type) {
        SetInitialized_(good);
        SetInitialized_(true);
    }

    char const* Ident() const override { return type_; }
    Base* Clone_() const override { return new (std::nothrow) Note(value_, type_, value_ >= 0); }
    bool PrintXmlBody_(Xml::Node& event) const override {
        if (value_ == 0) return Base::PrintXmlBody_(event);
        char const* const names[] = {"a", "b", nullptr};
        char const* const values[] = {"1", Bool_(true).Cstr()};
        return PrintXmlTags_("", event, names, values);
    }
    int Value() const { return value_; }

    using Base::CloneXml_, Base::Decode_;

    int value_;
    char const* type_;
};

inline bool Raise(Event::Base const& event) { return Event::Raise(event, nullptr, Event::SYNC, Event::DIRECT); }
inline void Raise(AutoPtr<Event::Base>& event) { Event::Raise(event, Event::SYNC, Event::DIRECT); }
inline void SendAs(char const* type, int value) { EXPECT_TRUE(Raise(Note(value, type))); }
inline void Send(int value, Event::TypeT wait = Event::SYNC, Event::OrderT order = Event::DIRECT,
                 Event::BaseDelegate const* to = nullptr) {
    EXPECT_TRUE(Event::Raise(Note(value), to, wait, order));
}

using Acceptor = EventAcceptor<Note>;
