// Spans and stamps: a byte of format and mode, then the text. What parses prints, and its print parses to the
// same.
#include "fuzz/FuzzInput.h"

#include "zeb/core/TimeSpan.h"
#include "zeb/core/TimeStamp.h"

namespace {

constexpr unsigned FORMATS = 24; // one beyond the table

void TrySpan(std::string_view text) {
    Time::Span const before(77, 7);
    Time::Span span = before;
    if (!Time::Span::String::Parse(text.data(), text.size(), span)) {
        FUZZ_CHECK(span == before);
        return;
    }
    Time::Span::String const printed(span);
    Time::Span again;
    FUZZ_CHECK(Time::Span::String::Parse(printed.Cstr(), printed.Size(), again) && again == span);
}

void TryStamp(std::string_view text, Time::Stamp::FormatT format, Time::Stamp::ModeT mode) {
    Time::Stamp const before(784111777);
    Time::Stamp stamp = before;
    unsigned int consumed = 0;
    ReturnT const code = stamp.Parse(format, mode, CString(text.data(), text.size()), &consumed);
    FUZZ_CHECK(consumed <= text.size());
    if (code.Failed()) {
        FUZZ_CHECK(stamp == before);
        return;
    }
    char printed[Time::Stamp::TEXT_SIZE] = {};
    if (format > Time::Stamp::ISO || stamp.AsString(format, mode, printed).Failed()) return;
    // Before 1970 the fraction counts the other way round, and its print is not what was parsed.
    if (stamp.AsMicroseconds() < 0 && stamp.AsMicroseconds() % 1000000 != 0) return;
    Time::Stamp again = stamp;
    FUZZ_CHECK(again.Parse(format, mode, CString(printed), nullptr).Succeeded());
    FUZZ_CHECK(again == stamp);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    FuzzInput input(data, size);
    unsigned const choice = input.Byte();
    std::string_view const text = input.Rest();
    TrySpan(text);
    TryStamp(text, static_cast<Time::Stamp::FormatT>(choice % FORMATS),
             (choice & 0x80) != 0 ? Time::Stamp::LOCAL : Time::Stamp::GMT);
    return 0;
}
