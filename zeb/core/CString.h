#pragma once

// CString: a read-only view of text, pointer and size. It is the base of all text types, so that an operation
// that takes `CString const&` accepts every one of them, and a literal.
//
// A view owns nothing: its bytes must live as long as it is used. The pointer is never null; the view of
// nothing aims at a static empty text. Text is bytes, without an encoding, and is normally terminated by a
// NUL behind its last byte, which the size does not count; what passes Cstr() on to the system needs that
// NUL. Views never fail; one object is used by one thread at a time.
//
// CString::IgnoreCase is the same view with the wish that case be ignored: a comparison or search ignores
// case if either side says so.

#include "zeb/core/Export.h"

#include <cstring>
#include <type_traits>

static_assert(std::is_signed_v<char>, "programs that use this library are compiled with -fsigned-char");

class String;
class StringVector;

class ZEB_PUBLIC CString {
public:
    class IgnoreCase;

    constexpr CString()
        : CString(NIL_, 0) {}
    constexpr CString(char const* text)
        : CString(text ? text : NIL_, text ? __builtin_strlen(text) : 0) {}
    constexpr CString(char const* data, unsigned long size)
        : data_(const_cast<char*>(data))
        , size_(size) {}
    CString(CString const&) = default;
    CString& operator=(CString const&) = default;
    virtual ~CString() = default;

    static CString const& Nil();

    // Aim at another text. Null gives the empty view.
    void Reset(char const* text) { *this = CString(text); }
    void Reset(CString const& other) { *this = other; }

    char const* Cstr() const { return data_; }
    unsigned long Size() const { return size_; }
    bool Empty() const { return size_ == 0; }
    char operator[](unsigned long index) const { return data_[index]; }

    // For loops over the bytes: for (char c : text).
    char const* begin() const { return data_; }
    char const* end() const { return data_ + size_; }

    // Order of this text, or of its part of `count` bytes at `pos`, against the other: negative, 0 or
    // positive. Bytes are compared up to a NUL that both have; a text that is a beginning of the other comes
    // first. A count is cut at the end of the text. The forms with a pointer ignore case only if this side
    // says so.
    int Compare(CString const& other) const;
    int Compare(unsigned long pos, CString const& other) const;
    int Compare(unsigned long pos, char const* text, unsigned long size) const;
    int Compare(unsigned long pos, unsigned long count, CString const& other) const;
    int Compare(unsigned long pos, unsigned long count, char const* text, unsigned long size) const;

    // Compare(other) is 0.
    bool operator==(CString const& other) const { return size_ == other.size_ && Compare(other) == 0; }

    // Offset of the first hit at or behind `pos`, or Size(). An empty text is never found. Mind that
    // Find("text", n) takes n as the size of the text, not as a position.
    unsigned long Find(char c, unsigned long pos = 0) const;
    unsigned long Find(char const* text, unsigned long size) const;
    unsigned long Find(CString const& text, unsigned long pos = 0) const;

    // Offset of the last hit, in the form with `pos` of the last one ahead of `pos`, or Size().
    unsigned long FindLast(char c) const { return FindLast(c, size_); }
    unsigned long FindLast(char c, unsigned long pos) const;
    unsigned long FindLast(CString const& text) const;

    // Always Size(), whatever the text: use the form that takes a CString.
    unsigned long FindLast(char const* text, unsigned long size) const;

    // The text is not empty, and all its bytes up to the first NUL are of the class: isprint, isgraph,
    // isdigit.
    bool IsPrintable() const;
    bool IsPrintableNonSpace() const;
    bool IsNumeric() const;

    // Copies a part, which must lie in the text. The result is that of String::Assign.
    [[nodiscard]] bool Substr(String& out, unsigned long pos) const;
    [[nodiscard]] bool Substr(String& out, unsigned long pos, unsigned long count) const;

    // Fields of the text. At a separator other than NUL every field counts, empty ones too: "a,,b" has three,
    // "a," two, "" one. With a NUL as separator the fields stand between runs of white space and none is
    // empty, but "" still has one empty field. False when memory ran out; `out` is empty then. The text may
    // be one of those in `out`.
    [[nodiscard]] bool Split(StringVector& out, char separator) const;

protected:
    static char const NIL_[1];

private:
    virtual bool IgnoreCase_() const;

    unsigned long Part_(unsigned long pos, unsigned long count) const {
        unsigned long const rest = pos < size_ ? size_ - pos : 0;
        return count < rest ? count : rest;
    }
    unsigned long Find_(unsigned long pos, char const* text, unsigned long size, bool ignoreCase) const;
    unsigned long FindLast_(unsigned long end, char const* text, unsigned long size, bool ignoreCase) const;

protected:
    char* data_;
    unsigned long size_;
};

class ZEB_PUBLIC CString::IgnoreCase : public CString {
public:
    using CString::CString;
    IgnoreCase(CString const& text)
        : CString(text) {}

private:
    bool IgnoreCase_() const override;
};
