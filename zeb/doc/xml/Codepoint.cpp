#include "zeb/doc/xml/Codepoint.h"

#include "zeb/stream/Writer.h"

namespace {

bool IsContinuation(unsigned char c) { return (c & 0xC0) == 0x80; }

bool MayStart(unsigned char c) { return c < 0x80 || (c >= 0xC2 && c <= 0xF4); }

Xml::Codepoint Malformed(unsigned char const* text, unsigned long left, unsigned long from) {
    while (from < left && !MayStart(text[from]))
        ++from;
    return {Xml::REPLACEMENT_CHARACTER, from};
}

// Over-long forms, and what lies beyond the last code point.
bool IsBadSecond(unsigned char lead, unsigned char second) {
    return (lead == 0xE0 && second <= 0x9F) || (lead == 0xF0 && second <= 0x8F) ||
           (lead == 0xF4 && second >= 0x90);
}

} // namespace

Xml::Codepoint Xml::ParseCodepoint_(char const* text, unsigned long left) {
    auto const* const bytes = reinterpret_cast<unsigned char const*>(text);
    unsigned char const lead = bytes[0];
    if (lead < 0x80) return {lead, 1};
    if (!MayStart(lead)) return Malformed(bytes, left, 0);

    unsigned const size = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (left < size) return {REPLACEMENT_CHARACTER, left};
    if (IsBadSecond(lead, bytes[1])) return Malformed(bytes, left, 1);

    uint32_t value = lead & (0x7FU >> size);
    for (unsigned i = 1; i < size; ++i) {
        if (!IsContinuation(bytes[i])) return Malformed(bytes, left, i);
        value = (value << 6) | (bytes[i] & 0x3FU);
    }
    return {value, size};
}

void Xml::PrintCodepoint_(Doc::Writer& writer, uint32_t value, PrintFlagsT flags) {
    if (value < 128) {
        if (value >= 32 || value == '\t' || value == '\n' || value == '\r') {
            return writer.Put(static_cast<char>(value));
        }
        value = REPLACEMENT_CHARACTER;
    }
    char text[10] = "&#x";
    if ((flags & PRINT_ASCII) == 0) return writer.Put(text, Doc::EncodeUtf8(text, value));
    unsigned const digits = value < 0x100 ? 2 : value < 0x10000 ? 4 : 6;
    for (unsigned i = 0; i < digits; ++i)
        text[3 + i] = "0123456789abcdef"[(value >> (4 * (digits - 1 - i))) & 0xF];
    text[3 + digits] = ';';
    writer.Put(text, digits + 4);
}
