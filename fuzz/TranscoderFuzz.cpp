// Transcoder: bytes of the pair of charsets, the flags and the room, then the text. What holds whatever the
// text: the counting pass and the writing pass agree, a small room gets a beginning, what was written reads
// back.
#include "fuzz/FuzzInput.h"

#include "zeb/text/Transcoder.h"

namespace {

using Charset::Transcoder;

struct Outcome {
    ReturnT code;
    size_t used;
    std::string text;
    unsigned long needed;
};

Outcome Encode(unsigned from, unsigned to, unsigned flags, std::string_view in, size_t room) {
    Outcome result{};
    std::string out(room, '\0');
    char const* at = in.data();
    char* end = room == 0 ? nullptr : out.data();
    Transcoder const transcoder(static_cast<Charset::TypeT>(from), static_cast<Charset::TypeT>(to),
                                static_cast<Transcoder::FlagT>(flags));
    result.code = transcoder.Encode(&at, in.size(), &end, room, &result.needed);
    result.used = static_cast<size_t>(at - in.data());
    result.text = out.substr(0, room == 0 ? 0 : static_cast<size_t>(end - out.data()));
    return result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    FuzzInput input(data, size);
    unsigned const pair = input.Byte(), from = pair % 6, to = pair / 6 % 6;
    unsigned const flags = input.Byte() & 7;
    size_t const room = input.Byte();
    std::string_view const text = input.Rest();
    Outcome const count = Encode(from, to, flags, text, 0);
    Outcome const whole = Encode(from, to, flags, text, count.needed);
    Outcome const small = Encode(from, to, flags, text, room);
    FUZZ_CHECK(whole.code == count.code && whole.used == count.used && whole.needed == count.needed);
    FUZZ_CHECK(whole.text.size() == count.needed);
    FUZZ_CHECK(small.code == count.code && small.used == count.used && small.needed == count.needed);
    FUZZ_CHECK(whole.text.substr(0, small.text.size()) == small.text);
    FUZZ_CHECK(small.text.size() + 4 > std::min(room, whole.text.size()));
    FUZZ_CHECK(count.code == Transcoder::DONE ? count.used == text.size() : flags != 7);
    bool const surrogates =
        from == Charset::UTF_8 && text.find('\xED') != text.npos; // not read by the others
    if (flags != 0 || surrogates) return 0;
    Outcome const back = Encode(to, from, 0, whole.text, text.size() + 4);
    FUZZ_CHECK(back.code == Transcoder::DONE && back.text == text.substr(0, count.used));
    return 0;
}
