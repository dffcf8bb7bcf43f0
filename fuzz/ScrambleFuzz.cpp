// Scramble: a byte for the failing allocation, then the text. A text of ours comes back; any other is refused
// or decoded, and then what came out encodes.
#include "fuzz/FuzzHeap.h"
#include "fuzz/FuzzInput.h"

#include "zeb/core/String.h"
#include "zeb/util/Scramble.h"

using Util::Scramble;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    FuzzInput input(data, size);
    unsigned long const failing = input.Failing();
    std::string_view const text = input.Rest();
    CString const view(text.data(), text.size());
    String form, back, decoded;
    bool const isShort = text.size() <= Scramble::TEXT_MAX;
    FuzzHeap::Arm(failing);
    bool const encoded = Scramble::Encode(view, form);
    bool const fired = FuzzHeap::Disarm();
    FUZZ_CHECK(encoded == (isShort && !fired));
    if (encoded) {
        size_t const end = std::min(text.find('\0'), text.size());
        FUZZ_CHECK(form.Size() == 24 || form.Size() == 48 || form.Size() == 96);
        FUZZ_CHECK(Scramble::Decode(form, back));
        FUZZ_CHECK(std::string_view(back.Cstr(), back.Size()) == text.substr(0, end));
    }
    FuzzHeap::Arm(failing);
    bool const isDecoded = Scramble::Decode(view, decoded);
    FUZZ_CHECK(!(FuzzHeap::Disarm() && isDecoded));
    FUZZ_CHECK(!isDecoded || decoded.Size() <= 70);
    return 0;
}
