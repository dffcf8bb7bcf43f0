#pragma once

// The status of the gateway as a document. Both forms have the same content; they are built anew for each
// print, and "false" means that memory or the stream failed.

#include "Config.h"
#include "History.h"
#include "Interfaces.h"
#include "Telemetry.h"
#include "ThreadLoad.h"

namespace Io {
class OStream;
}

// The full XML form has, besides, the last report of this thread, what threads there are, their load and the
// locks that they hold.
struct Report {
    enum DetailT { SHORT, FULL };

    Config const& config;
    Telemetry const& telemetry;
    History const& history;
    Interfaces const& interfaces;
    ThreadLoad const& load;

    bool PrintXml(Io::OStream& stream, DetailT detail) const;
    bool PrintJson(Io::OStream& stream) const;
};
