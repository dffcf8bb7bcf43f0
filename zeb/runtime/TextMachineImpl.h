#pragma once

// What the readers of the kernel's text files share: pieces of machines that take one character at a time.
// Nothing here allocates, so that all of it may run in a signal handler.

#include <cerrno>
#include <cstdint>

#include <unistd.h>

namespace Linux {

// Reads, whatever interrupts it.
inline ssize_t ReadAnyway(int descriptor, char* data, unsigned long size) {
    ssize_t count;
    do
        count = read(descriptor, data, size);
    while (count < 0 && (errno == EINTR || errno == EAGAIN));
    return count;
}

// A number, digit by digit.
class NumberMachine {
public:
    // True while `c` is a digit of the base and the number stays within the bound.
    bool Put(char c, unsigned base, uint64_t max) {
        unsigned const digit = Digit_(c);
        if (digit >= base || value_ > (max - digit) / base) return false;
        value_ = value_ * base + digit;
        ++digits_;
        return true;
    }

    bool IsEmpty() const { return digits_ == 0; }
    bool IsZero() const { return digits_ == 1 && value_ == 0; } // "0", and no more of them

    // The number at its end; the next one begins. False if it had no digit.
    bool Take(uint64_t& value) {
        bool const isNumber = !IsEmpty();
        value = value_;
        *this = NumberMachine();
        return isNumber;
    }

private:
    static unsigned Digit_(char c) {
        if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
        if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
        if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A' + 10);
        return ~0U;
    }

    uint64_t value_ = 0;
    unsigned long digits_ = 0;
};

// A text that is cut where its room ends, and always has a NUL if it has room at all.
class TextMachine {
public:
    TextMachine(char* data, unsigned long room)
        : data_(data)
        , room_(room) {
        if (room_ != 0) *data_ = '\0';
    }

    void Put(char c) {
        if (length_ + 1 < room_) {
            data_[length_] = c;
            data_[length_ + 1] = '\0';
        }
        ++length_;
    }

    // Of the whole text, with its NUL.
    unsigned long Size() const { return length_ + 1; }

private:
    char* data_;
    unsigned long room_;
    unsigned long length_ = 0;
};

} // namespace Linux
