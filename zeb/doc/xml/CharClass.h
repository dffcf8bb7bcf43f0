#pragma once

// Classes of characters, one table for names and for the ends of names. Internal to this folder.

#include <cstdint>

namespace Xml {

enum CharClassT : uint8_t {
    CHAR_SPACE = 1,          // blank, LF, CR, tab
    CHAR_NAME_START = 2,     // first character of a name
    CHAR_NAME = 4,           // further characters of a name
    CHAR_NODE_END = 8,       // ends the name of a node: white space, / > ? NUL
    CHAR_ATTRIBUTE_END = 16, // ends the name of an attribute: white space, / < > = ? ! NUL
};

struct CharClassTable {
    uint8_t of[256];
};

constexpr CharClassTable MakeCharClassTable() {
    CharClassTable table{};
    auto const add = [&table](char const* characters, unsigned size, unsigned bits) {
        for (unsigned i = 0; i < size; ++i)
            table.of[static_cast<unsigned char>(characters[i])] |= static_cast<uint8_t>(bits);
    };
    for (char c = 'a'; c <= 'z'; ++c) {
        char const both[] = {c, static_cast<char>(c - 'a' + 'A')};
        add(both, 2, CHAR_NAME_START | CHAR_NAME);
    }
    add(":@_", 3, CHAR_NAME_START | CHAR_NAME);
    add("0123456789-.", 12, CHAR_NAME);
    add(" \n\r\t", 4, CHAR_SPACE | CHAR_NODE_END | CHAR_ATTRIBUTE_END);
    add("/>?\0", 4, CHAR_NODE_END | CHAR_ATTRIBUTE_END);
    add("<=!", 3, CHAR_ATTRIBUTE_END);
    return table;
}

inline constexpr CharClassTable CHAR_CLASS = MakeCharClassTable();

inline bool IsChar(char c, unsigned bits) {
    return (CHAR_CLASS.of[static_cast<unsigned char>(c)] & bits) != 0;
}

// All characters of a text are of the class.
inline bool AreAll(char const* text, unsigned long size, unsigned bits) {
    auto const of = [text](unsigned long i) { return CHAR_CLASS.of[static_cast<unsigned char>(text[i])]; };
    for (; size >= 4; text += 4, size -= 4) {
        if ((of(0) & of(1) & of(2) & of(3) & bits) == 0) return false;
    }
    while (size != 0 && (of(size - 1) & bits) != 0)
        --size;
    return size == 0;
}

inline bool IsName(char const* text, unsigned long size) {
    return size != 0 && IsChar(*text, CHAR_NAME_START) && AreAll(text, size, CHAR_NAME);
}

// The first character at or behind `at` that is not of the class, or is of it. There must be one.
inline char* SkipWhile(char* at, unsigned bits) {
    for (;; at += 4) {
        if (!IsChar(at[0], bits)) return at;
        if (!IsChar(at[1], bits)) return at + 1;
        if (!IsChar(at[2], bits)) return at + 2;
        if (!IsChar(at[3], bits)) return at + 3;
    }
}
inline char* SkipUntil(char* at, unsigned bits) {
    while (!IsChar(*at, bits))
        ++at;
    return at;
}

} // namespace Xml
