// Base64: bytes of the format, the failing allocation and the room, then the text. Text decodes the same into
// a buffer and into room; what was decoded encodes to a text that decodes the same; any bytes come back.
#include "fuzz/FuzzHeap.h"
#include "fuzz/FuzzInput.h"

#include "zeb/core/Base64.h"
#include "zeb/core/Buffer.h"
#include "zeb/core/String.h"

namespace {

std::string_view View(CBuffer const& data) { return {static_cast<char const*>(data.Ptr()), data.Size()}; }

void Return(std::string_view data, Base64::FormatT format) {
    String text;
    Buffer back;
    FUZZ_CHECK(Base64::EncodeToString(CBuffer(data.data(), data.size()), text, format).Succeeded());
    FUZZ_CHECK(text.Size() == Base64::EncodedSize(data.size(), format));
    FUZZ_CHECK(data.size() <= Base64::DecodedSizeMax(text.Size(), format));
    FUZZ_CHECK(Base64::DecodeString(text, back, format).Succeeded() && View(back) == data);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    FuzzInput input(data, size);
    auto const format = static_cast<Base64::FormatT>(input.Byte() & 1);
    unsigned long const failing = input.Failing(), room = input.Byte();
    std::string_view const text = input.Rest();
    CString const view(text.data(), text.size());
    Return(text, format);

    Buffer out;
    FuzzHeap::Arm(failing);
    ReturnT const code = Base64::DecodeString(view, out, format);
    bool const fired = FuzzHeap::Disarm();
    FUZZ_CHECK(code.IsOom() == fired);
    std::string small(room, '#');
    unsigned long used = room;
    ReturnT const fits =
        Base64::DecodeString(view, reinterpret_cast<unsigned char*>(small.data()), used, format);
    if (code.Failed()) return 0;
    FUZZ_CHECK(fits.Succeeded() == (out.Size() <= room));
    if (fits.Succeeded()) FUZZ_CHECK(std::string_view(small).substr(0, used) == View(out));
    Return(View(out), format);
    return 0;
}
