#include "zeb/ssl/Spki.h"

#include "zeb/core/Base64.h"
#include "zeb/core/Buffer.h"
#include "zeb/core/HexString.h"
#include "zeb/ssl/ReportImpl.h"

namespace Util {

namespace {

constexpr unsigned long PIN_SIZE = 32;

} // namespace

ReturnT Spki::Decode(CString const& base64, HexString& out) {
    if (base64.Empty()) {
        out.Clear();
        return StatusLog(NO_PIN, Log::INFO, IDENT, nullptr, "").SetDone();
    }
    unsigned char pin[PIN_SIZE];
    unsigned long size = sizeof pin;
    if (Base64::DecodeString(base64, pin, size, Base64::STANDARD).Failed() || size != PIN_SIZE)
        return Ssl::Report_(BAD_PIN, IDENT, "unable to decode a public key pin");
    if (!out.Assign(pin, size)) return Ssl::Oom_(IDENT, "unable to allocate a public key pin");
    return StatusLog(DECODED, Log::INFO, IDENT, nullptr, "").SetDone();
}

ReturnT Spki::Encode(HexString const& pin, String& out) {
    Buffer bytes;
    String text;
    if (!pin.Get(bytes)) return Ssl::Oom_(IDENT, "unable to allocate a public key pin");
    if (Base64::EncodeToString(bytes, text, Base64::STANDARD).Failed())
        return Ssl::Oom_(IDENT, "unable to allocate a public key pin");
    out.Swap(text);
    return StatusLog(ENCODED, Log::INFO, IDENT, nullptr, "").SetDone();
}

} // namespace Util
