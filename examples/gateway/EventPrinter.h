#pragma once

// Prints each public event as XML on standard output, as a client of the device would receive it.

#include "zeb/event/Delegate.h"

class EventPrinter {
public:
    ~EventPrinter() { Stop(); }

    // False if a subscription failed.
    bool Start();

    // Nothing is printed any more.
    void Stop();

private:
    static constexpr char const IDENT[] = "EventPrinter";

    void OnEvent_(Event::Base const& event);

    Event::Delegate<EventPrinter> const onEvent_{IDENT, this, &EventPrinter::OnEvent_, nullptr};
};
