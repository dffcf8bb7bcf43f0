#pragma once

// Values on their way out: runs of bytes that stand for themselves at one go, the others one by one. Internal
// to this folder.

#include "zeb/core/Simd.h"
#include "zeb/doc/xml/Print.h"
#include "zeb/stream/Writer.h"

namespace Xml {

// The characters that have an entity, in the order of the bits of a mask.
struct EntityT {
    char character;
    unsigned char size;
    char text[7];
};
inline constexpr EntityT ENTITIES[] = {
    {'<', 4, "&lt;"}, {'>', 4, "&gt;"}, {'\'', 6, "&apos;"}, {'"', 6, "&quot;"}, {'&', 5, "&amp;"},
};

// Which of them are written as entities.
enum EscapeMaskT : unsigned {
    ESCAPE_NONE = 0,
    ESCAPE_ALL_BUT_QUOTES = 23,
    ESCAPE_ALL_BUT_APOSTROPHES = 27,
    ESCAPE_ALL = 31,
};

// Control characters, bytes from 128 up, and what the mask names.
template<EscapeMaskT MASK>
inline Simd::Set FindSpecials(Simd::Block block) {
    Simd::Block found = Simd::SignedBelow(block, Simd::Splat(' '));
    for (unsigned i = 0; i < sizeof(ENTITIES) / sizeof(ENTITIES[0]); ++i) {
        if ((MASK & (1U << i)) != 0) found = found | Simd::Equal(block, Simd::Splat(ENTITIES[i].character));
    }
    return Simd::Positions(found);
}

// Whether all of a text stands for itself.
template<EscapeMaskT MASK>
inline bool IsPlain(char const* text, unsigned long size) {
    for (; size >= Simd::COUNT; text += Simd::COUNT, size -= Simd::COUNT) {
        if (FindSpecials<MASK>(Simd::Load(text)) != 0) return false;
    }
    return size == 0 || FindSpecials<MASK>(Simd::Gather(text, size)) == 0;
}

// The general form.
void WriteEscapedSlow(Doc::Writer& writer, CString const& value, EscapeMaskT mask, PrintFlagsT flags);

// Writes the value; of the flags PRINT_ASCII counts.
template<EscapeMaskT MASK>
inline void WriteEscaped(Doc::Writer& writer, CString const& value, PrintFlagsT flags) {
    if (IsPlain<MASK>(value.Cstr(), value.Size())) return writer.Put(value);
    WriteEscapedSlow(writer, value, MASK, flags);
}

} // namespace Xml
