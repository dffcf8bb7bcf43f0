#pragma once

// A plain set of bits. B is the type of one bit or of several, W the word that keeps them.

template<class B, class W>
class FlagsT {
public:
    constexpr FlagsT() = default;
    constexpr explicit FlagsT(B bits)
        : word_(static_cast<W>(bits)) {}

    constexpr void Set(B bits) { word_ |= static_cast<W>(bits); }
    constexpr void Unset(B bits) { word_ &= ~static_cast<W>(bits); }
    constexpr void Clear() { word_ = 0; }

    // Any of the bits.
    constexpr bool Has(B bits) const { return (word_ & static_cast<W>(bits)) != 0; }
    constexpr W Word() const { return word_; }

    constexpr bool operator==(FlagsT const&) const = default;

private:
    W word_ = 0;
};
