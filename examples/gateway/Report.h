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

// The XML form has, besides, what threads there are, their load and the locks that they hold.
struct Report {
    Config const& config;
    Telemetry const& telemetry;
    History const& history;
    Interfaces const& interfaces;
    ThreadLoad const& load;

    bool PrintXml(Io::OStream& stream) const;
    bool PrintJson(Io::OStream& stream) const;
};
