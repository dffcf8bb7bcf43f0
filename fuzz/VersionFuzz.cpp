// Versions: a byte for the failing allocation, then the text. What was read prints, and reads back the same.
#include "fuzz/FuzzHeap.h"
#include "fuzz/FuzzInput.h"

#include "zeb/core/String.h"
#include "zeb/text/Version.h"

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    FuzzInput input(data, size);
    unsigned long const failing = input.Failing();
    std::string_view const text = input.Rest();
    Version version;
    FuzzHeap::Arm(failing);
    bool const parsed = version.Parse(CString(text.data(), text.size()));
    bool const fired = FuzzHeap::Disarm();
    FUZZ_CHECK(!(parsed && fired));
    if (!parsed) {
        FUZZ_CHECK(version.IsZero());
        return 0;
    }
    String printed, twice;
    Version again;
    FUZZ_CHECK(version.Print(printed) && again.Parse(printed) && again.Print(twice));
    FUZZ_CHECK(version == again && printed == twice);
    return 0;
}
