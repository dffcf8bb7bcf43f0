// Takes numbers and text off the input of a fuzz target, and ends the process when a check fails.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#define FUZZ_CHECK(condition)                                                                                \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition);                    \
            abort();                                                                                         \
        }                                                                                                    \
    } while (false)

class FuzzInput {
public:
    FuzzInput(uint8_t const* data, size_t size)
        : data_(data)
        , size_(size) {}

    // 0 when nothing is left.
    unsigned Byte() {
        if (size_ == 0) return 0;
        --size_;
        return *data_++;
    }
    unsigned Word() {
        unsigned const high = Byte();
        return high << 8 | Byte();
    }

    // Which allocation fails: half of all inputs let none fail.
    unsigned long Failing() {
        unsigned const n = Byte();
        return n < 128 ? 0 : n - 127;
    }

    // Bytes moved at a time.
    unsigned long Split() {
        unsigned const n = Byte();
        return n == 0 ? 4096 : n;
    }

    // All that is left, in a block of exactly its size, so that a read past the end shows up.
    std::string_view Rest() {
        delete[] copy_;
        copy_ = new char[size_];
        std::copy_n(data_, size_, copy_);
        return {copy_, size_};
    }

    ~FuzzInput() { delete[] copy_; }
    FuzzInput(FuzzInput const&) = delete;
    FuzzInput& operator=(FuzzInput const&) = delete;

private:
    uint8_t const* data_;
    size_t size_;
    char* copy_ = nullptr;
};
