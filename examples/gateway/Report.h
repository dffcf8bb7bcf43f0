#pragma once

// The status of the gateway as a document. Both forms have the same content; they are built anew for each
// print, and "false" means that memory or the stream failed.

#include "Config.h"
#include "Telemetry.h"

namespace Io {
class OStream;
}

bool PrintXmlStatus(Io::OStream& stream, Config const& config, Telemetry const& telemetry);
bool PrintJsonStatus(Io::OStream& stream, Config const& config, Telemetry const& telemetry);
