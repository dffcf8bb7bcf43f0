#include "zeb/core/StringAccumulator.h"

#include "zeb/core/Digits.h"

#include <cctype>
#include <type_traits>

StringAccumulator::Manipulator::~Manipulator() = default;

StringAccumulator& Width::operator()(StringAccumulator& accumulator) const {
    return accumulator.Width(value_);
}

StringAccumulator& Fill::operator()(StringAccumulator& accumulator) const { return accumulator.Fill(value_); }

StringAccumulator& StringAccumulator::Clear() {
    String::Clear();
    valid_ = true;
    return *this;
}

StringAccumulator& StringAccumulator::Write(char const* data, unsigned long size) {
    if (valid_) {
        if (width_ <= size && !caseSet_)
            valid_ = Append_(data, size);
        else
            Format_(data, size);
    }
    ResetSettings_();
    return *this;
}

StringAccumulator& StringAccumulator::Write(char c, unsigned long count) {
    if (valid_) valid_ = Replace(Size(), 0, c, count);
    return *this;
}

void StringAccumulator::Format_(char const* data, unsigned long size) {
    unsigned long const padding = width_ > size ? width_ - size : 0;
    if (right_) Write(fill_, padding);
    if (!valid_) return;
    unsigned long const start = Size();
    valid_ = Append_(data, size);
    if (!valid_) return;
    if (caseSet_) SetLetters_(start);
    if (!right_) Write(fill_, padding);
}

void StringAccumulator::SetLetters_(unsigned long start) {
    for (char *p = Ptr() + start, *const end = Ptr() + Size(); p != end; ++p) {
        int const c = static_cast<unsigned char>(*p);
        *p = static_cast<char>(upper_ ? toupper(c) : tolower(c));
    }
}

template<class T>
StringAccumulator& StringAccumulator::Number_(T value) {
    char digits[Digits::MAX_SIZE];
    char* const end = hex_ ? Digits::PrintHex(digits, static_cast<std::make_unsigned_t<T>>(value))
                           : Digits::Print(digits, value);
    return Write(digits, static_cast<unsigned long>(end - digits));
}

StringAccumulator& StringAccumulator::operator<<(short value) { return Number_(value); }
StringAccumulator& StringAccumulator::operator<<(unsigned short value) { return Number_(value); }
StringAccumulator& StringAccumulator::operator<<(int value) { return Number_(value); }
StringAccumulator& StringAccumulator::operator<<(unsigned int value) { return Number_(value); }
StringAccumulator& StringAccumulator::operator<<(long value) { return Number_(value); }
StringAccumulator& StringAccumulator::operator<<(unsigned long value) { return Number_(value); }
StringAccumulator& StringAccumulator::operator<<(long long value) { return Number_(value); }
StringAccumulator& StringAccumulator::operator<<(unsigned long long value) { return Number_(value); }

StringAccumulator& StringAccumulator::operator<<(void const* pointer) {
    if (!pointer) return Write("(nil)", 5);
    char text[2 + Digits::MAX_SIZE] = {'0', 'x'};
    char* const end = Digits::PrintHex(text + 2, reinterpret_cast<uintptr_t>(pointer));
    return Write(text, static_cast<unsigned long>(end - text));
}
