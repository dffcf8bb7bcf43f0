// The line reader: bytes of line end, failing allocation, split size and limit, then the text. A text reads
// the same whatever the size of its pieces.
#include "fuzz/FuzzHeap.h"
#include "fuzz/FuzzInput.h"

#include "zeb/core/String.h"
#include "zeb/stream/StringStream.h"

#include <climits>

namespace {

// All lines, each behind its size, and the state at the end.
std::string ReadAll(std::string_view text, Io::EndOfLineT eol, unsigned long split, unsigned long limit,
                    unsigned long failing) {
    Io::StringStream stream(text.data(), text.size(), Io::MODE_READ, eol, split, LONG_MAX);
    FUZZ_CHECK(stream.Ok());
    std::string out;
    String line;
    bool isRead = true;
    bool fired = false;
    while (isRead && !fired) {
        line.Clear();
        FuzzHeap::Arm(failing);
        isRead = stream.ReadLine(line, limit);
        fired = FuzzHeap::Disarm();
        FUZZ_CHECK((stream.CurrentState() == Io::Stateful::STATE_NO_MEMORY) == fired);
        FUZZ_CHECK(line.Size() <= limit || limit == 0);
        out += std::to_string(line.Size()) + ":" + std::string(line.Cstr(), line.Size()) + "\n";
    }
    FUZZ_CHECK(isRead == stream.Ok());
    return out + stream.ErrorString();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    FuzzInput input(data, size);
    auto const eol = static_cast<Io::EndOfLineT>(input.Byte() & 3);
    unsigned long const failing = input.Failing();
    unsigned long const split = input.Split();
    unsigned long const limit = input.Byte() + 1;
    std::string_view const text = input.Rest();
    std::string const whole = ReadAll(text, eol, text.size() + 1, limit, 0);
    FUZZ_CHECK(ReadAll(text, eol, split, limit, 0) == whole);
    FUZZ_CHECK(ReadAll(text, eol, 1, limit, 0) == whole);
    if (failing != 0) ReadAll(text, eol, split, limit, failing);
    return 0;
}
