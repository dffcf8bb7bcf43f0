#pragma once

// Tells the other parts of the program, by events, how the interfaces have changed from one sample to the
// next: new ones and vanished ones, addresses, and the speeds of links. One thread.

#include "Sample.h"

#include "zeb/core/Array.h"
#include "zeb/core/TimeSpan.h"

class Links {
public:
    // What could not be told, for want of memory, is told after the next sample.
    void Tell(Sample const& sample);

private:
    struct Link {
        char name[sizeof(InterfaceSample::name)];
        unsigned long speed;
        Network::IpBlock address;
        Time::Span created;
    };

    Link* Find_(InterfaceSample const& interface);
    static void TellAddress_(Link& link, Network::IpBlock const& address);
    void TellVanished_(Sample const& sample);
    Link* TellNew_(InterfaceSample const& interface);

    Array<Link> links_;
};
