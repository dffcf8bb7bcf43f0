// Results, strings, time and the log.
#include "zeb/core/Integer.h"
#include "zeb/core/Log.h"
#include "zeb/core/StringAccumulator.h"
#include "zeb/core/StringVector.h"
#include "zeb/core/Time.h"

namespace {

constexpr char const IDENT[] = "Ports";

// Reads "80,443": false, with a line in the log, for anything that is no list of ports.
bool ReadPorts(CString const& text, StringAccumulator& out) {
    StringVector fields;
    if (!text.Split(fields, ',')) return false;
    for (unsigned long i = 0; i < fields.Size(); ++i) {
        unsigned short port;
        if (!Integer::Parse(fields[i], port)) {
            Log(Log::WARNING, IDENT, text.Cstr(), "\"%1\" is no port") << fields[i];
            return false;
        }
        out << "[" << Width(5) << port << "]";
    }
    return out.Valid();
}

} // namespace

int main() {
    Log::ConsoleMode();
    Time::Span const start = Time::Monotonic();
    StringAccumulator ports;
    if (ReadPorts("80,443", ports)) Log(Log::INFO, IDENT, nullptr, "ports: %1") << ports;
    if (!ReadPorts("80,http", ports)) Log(Log::INFO, IDENT, nullptr, "refused, as it should be");
    return (Time::Monotonic() - start).Seconds() < 60 ? 0 : 1;
}
