// The cookie text of Event::ZessCookie.

#include "zeb/core/Log.h"
#include "zeb/core/StringMap.h"
#include "zeb/core/StringVector.h"
#include "zeb/event/Base.h"
#include "zeb/text/URI.h"

namespace Event {

namespace {

constexpr char const COOKIE[] = "Event::Type::ZessCookie";

// False if memory ran out. Text that is not valid is logged.
bool DecodePart(CString const& text, char const* complaint, String& out, bool& valid) {
    if (!Util::URI::Decode(Util::URI::ENCODE_URI, text, out, valid)) return false;
    if (!valid) Log(Log::ERROR, COOKIE, nullptr, complaint) << text;
    return true;
}

bool DecodePair(CString const& pair, StringMap& map) {
    StringVector parts;
    if (!pair.Split(parts, '=')) return false;
    if (parts.Size() != 2) {
        Log(Log::ERROR, COOKIE, nullptr, "invalid name-value pair: \"%1\"") << pair;
        return true;
    }
    String name, value;
    bool valid = false;
    if (!DecodePart(parts[0], "invalid cookie name: \"%1\"", name, valid)) return false;
    if (!valid) return true;
    if (!DecodePart(parts[1], "invalid cookie value: \"%1\"", value, valid)) return false;
    return !valid || map.Set(name, value);
}

} // namespace

bool Base::Decode_(CString const& text, StringMap& map) {
    StringVector pairs;
    if (!text.Split(pairs, '&')) return false;
    for (unsigned long i = 0; i != pairs.Size(); ++i) {
        if (!pairs[i].Empty() && !DecodePair(pairs[i], map)) return false;
    }
    return true;
}

} // namespace Event
