#pragma once

// StringAccumulator: builds a text by `<<`. Settings for width, fill, side, base and case hold for exactly
// one item, the next one. When memory runs out the accumulator becomes invalid: it keeps what it has and
// skips what follows, so that a chain is tested once, at its end, by Valid().
//
//   StringAccumulator text;
//   text << "port " << Width(5) << port << " mark " << Fill('0') << Width(8);
//   text.Hex() << mark;
//
// One thread at a time uses an object.

#include "zeb/core/String.h"

class ZEB_PUBLIC StringAccumulator : public String {
public:
    // An object that changes the accumulator it is streamed into.
    class ZEB_PUBLIC Manipulator {
    public:
        virtual ~Manipulator();
        virtual StringAccumulator& operator()(StringAccumulator& accumulator) const = 0;
    };

    StringAccumulator() = default;

    // Empties the text and makes the accumulator valid again. Settings stay.
    StringAccumulator& Clear();

    bool Valid() const { return valid_; }
    void Invalidate() { valid_ = false; }

    String const& Str() const { return *this; }

    // A `char` is a character, `unsigned char` too. A null `char const*` is the empty text. Hexadecimal
    // digits of a negative number are those of its two's complement in the width of its type.
    StringAccumulator& operator<<(CString const& text) { return Write(text.Cstr(), text.Size()); }
    StringAccumulator& operator<<(char const* text) { return *this << CString(text); }
    StringAccumulator& operator<<(char c) { return Write(&c, 1); }
    StringAccumulator& operator<<(unsigned char c) { return *this << static_cast<char>(c); }
    StringAccumulator& operator<<(short value);
    StringAccumulator& operator<<(unsigned short value);
    StringAccumulator& operator<<(int value);
    StringAccumulator& operator<<(unsigned int value);
    StringAccumulator& operator<<(long value);
    StringAccumulator& operator<<(unsigned long value);
    StringAccumulator& operator<<(long long value);
    StringAccumulator& operator<<(unsigned long long value);
    StringAccumulator& operator<<(void const* pointer);
    StringAccumulator& operator<<(Manipulator const& manipulator) { return manipulator(*this); }
    StringAccumulator& operator<<(StringAccumulator& (*function)(StringAccumulator&)) {
        return function(*this);
    }

    // One item, padded like any other. The bytes must not be the accumulator's own.
    StringAccumulator& Write(char const* data, unsigned long size);

    // Copies of a character. Neither uses nor ends the settings.
    StringAccumulator& Write(char c, unsigned long count);

    StringAccumulator& Width(unsigned long width) { return width_ = width, *this; }
    StringAccumulator& Fill(char fill) { return fill_ = fill, *this; }
    StringAccumulator& Left() { return right_ = false, *this; }
    StringAccumulator& Right() { return right_ = true, *this; }
    StringAccumulator& Hex() { return hex_ = true, *this; }
    StringAccumulator& Dec() { return hex_ = false, *this; }
    StringAccumulator& Upper() { return SetCase_(true); }
    StringAccumulator& Lower() { return SetCase_(false); }

private:
    StringAccumulator& SetCase_(bool upper) { return caseSet_ = true, upper_ = upper, *this; }
    void Format_(char const* data, unsigned long size);
    void SetLetters_(unsigned long start);
    void ResetSettings_() {
        width_ = 0;
        fill_ = ' ';
        right_ = true;
        hex_ = false;
        caseSet_ = false;
    }

    template<class T>
    StringAccumulator& Number_(T value);

    bool valid_ = true;
    unsigned long width_ = 0;
    char fill_ = ' ';
    bool right_ = true;
    bool hex_ = false;
    bool caseSet_ = false;
    bool upper_ = false;
};

// Smallest width of the next item.
class ZEB_PUBLIC Width : public StringAccumulator::Manipulator {
public:
    explicit Width(unsigned long value)
        : value_(value) {}
    StringAccumulator& operator()(StringAccumulator& accumulator) const override;

private:
    unsigned long value_;
};

// What the next item is padded with.
class ZEB_PUBLIC Fill : public StringAccumulator::Manipulator {
public:
    explicit Fill(char value)
        : value_(value) {}
    StringAccumulator& operator()(StringAccumulator& accumulator) const override;

private:
    char value_;
};
