#include "zeb/doc/xml/Escape.h"

#include "zeb/doc/xml/Codepoint.h"

namespace {

using Xml::EntityT;
using Xml::EscapeMaskT;

EntityT const* FindEntity(char c, EscapeMaskT mask) {
    unsigned bit = 1;
    for (EntityT const& entity : Xml::ENTITIES) {
        if (entity.character == c) return (mask & bit) != 0 ? &entity : nullptr;
        bit <<= 1;
    }
    return nullptr;
}

// Writes what stands at a special character; returns the bytes consumed.
unsigned long WriteOne(Doc::Writer& writer, char const* at, unsigned long left, EscapeMaskT mask,
                       Xml::PrintFlagsT flags) {
    EntityT const* const entity = FindEntity(*at, mask);
    if (entity != nullptr) {
        writer.Put(entity->text, static_cast<unsigned long>(entity->size));
        return 1;
    }
    Xml::Codepoint const codepoint = Xml::ParseCodepoint_(at, left);
    Xml::PrintCodepoint_(writer, codepoint.value, flags);
    return codepoint.size;
}

// Copies up to the first special character, and returns it.
template<EscapeMaskT MASK>
char const* CopyPlain(Doc::Writer& writer, char const* at, char const* end) {
    while (end - at >= static_cast<long>(Simd::COUNT) && writer.Room() >= Simd::COUNT) {
        Simd::Block const block = Simd::Load(at);
        Simd::Store(writer.At(), block);
        Simd::Set const specials = Xml::FindSpecials<MASK>(block);
        unsigned const count = specials != 0 ? Simd::First(specials) : Simd::COUNT;
        writer.Advance(count);
        at += count;
        if (specials != 0) return at;
    }
    char const* const run = at;
    while (at != end && *at >= ' ' && FindEntity(*at, MASK) == nullptr)
        ++at;
    writer.Put(run, static_cast<unsigned long>(at - run));
    return at;
}

template<EscapeMaskT MASK>
void Write(Doc::Writer& writer, char const* at, char const* end, Xml::PrintFlagsT flags) {
    while (at != end) {
        at = CopyPlain<MASK>(writer, at, end);
        if (at != end) at += WriteOne(writer, at, static_cast<unsigned long>(end - at), MASK, flags);
    }
}

} // namespace

void Xml::WriteEscapedSlow(Doc::Writer& writer, CString const& value, EscapeMaskT mask, PrintFlagsT flags) {
    char const* const at = value.Cstr();
    char const* const end = at + value.Size();
    switch (mask) {
    case ESCAPE_NONE:
        return Write<ESCAPE_NONE>(writer, at, end, flags);
    case ESCAPE_ALL_BUT_QUOTES:
        return Write<ESCAPE_ALL_BUT_QUOTES>(writer, at, end, flags);
    case ESCAPE_ALL_BUT_APOSTROPHES:
        return Write<ESCAPE_ALL_BUT_APOSTROPHES>(writer, at, end, flags);
    case ESCAPE_ALL:
        return Write<ESCAPE_ALL>(writer, at, end, flags);
    }
}
