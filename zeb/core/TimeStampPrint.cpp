#include "zeb/core/Digits.h"
#include "zeb/core/TimeStampImpl.h"

#include <cstring>

namespace Time {

using namespace StampImpl_;

namespace {

class Printer_ {
public:
    static constexpr unsigned long SIZE = Stamp::TEXT_SIZE - 1;

    explicit Printer_(Fields const& fields)
        : fields_(fields) {}

    ReturnT Print(char const* format) {
        for (; *format; ++format) {
            ReturnT const code = *format == '%' ? Convert_(*++format) : Text_(format, 1, PRINT_LITERAL);
            if (code.Failed()) return code;
        }
        return PRINTED;
    }

    void Copy(char* out) const {
        memcpy(out, text_, size_);
        out[size_] = '\0';
    }

private:
    ReturnT Convert_(char conversion) {
        switch (conversion) {
        case '%':
            return Text_("%", 1, PRINT_LITERAL);
        case 't':
            return Text_(" ", 1, PRINT_LITERAL);
        case 'a':
            return Text_(Day_().brief, Name::SHORT_SIZE, PRINT_WEEKDAY);
        case 'A':
            return Text_(Day_().full, Day_().size, PRINT_WEEKDAY);
        case 'b':
        case 'w':
            return Text_(Month_().brief, Name::SHORT_SIZE, PRINT_MONTH);
        case 'B':
            return Text_(Month_().full, Month_().size, PRINT_MONTH);
        case 'm':
            return Number_(fields_.month, 2, '0', PRINT_MONTH);
        case 'd':
            return Number_(fields_.day, 2, '0', PRINT_DAY);
        case 'e':
            return Number_(fields_.day, 2, ' ', PRINT_DAY);
        case 'y':
            return ShortYear_();
        case 'Y':
            return Number_(fields_.year, 4, '0', PRINT_YEAR);
        case 'H':
            return Number_(fields_.hour, 2, '0', PRINT_HOUR);
        case 'M':
            return Number_(fields_.minute, 2, '0', PRINT_MINUTE);
        case 'S':
            return Number_(fields_.second, 2, '0', PRINT_SECOND);
        case 'K':
            return Number_(fields_.millisecond, 3, '0', PRINT_MILLISECOND);
        default:
            return PRINT_CONVERSION;
        }
    }

    Name const& Day_() const { return DAYS[fields_.weekday]; }
    Name const& Month_() const { return MONTHS[fields_.month - 1]; }

    ReturnT ShortYear_() {
        if (fields_.year < CENTURY_FIRST || fields_.year > CENTURY_LAST) return PRINT_CENTURY;
        return Number_(fields_.year % 100, 2, '0', PRINT_YEAR);
    }

    ReturnT Number_(unsigned value, unsigned long width, char fill, ReturnT failure) {
        char digits[Digits::MAX_SIZE];
        unsigned long const size = static_cast<unsigned long>(Digits::PrintDecimal(digits, value) - digits);
        for (unsigned long i = size; i < width; ++i)
            if (ReturnT const code = Text_(&fill, 1, failure); code.Failed()) return code;
        return Text_(digits, size, failure);
    }

    ReturnT Text_(char const* text, unsigned long size, ReturnT failure) {
        if (size > SIZE - size_) return failure;
        memcpy(text_ + size_, text, size);
        size_ += size;
        return PRINTED;
    }

    Fields const& fields_;
    char text_[SIZE];
    unsigned long size_ = 0;
};

} // namespace

ReturnT Stamp::AsString(FormatT format, ModeT mode, char* out) const {
    if (mode == LOCAL && NamesZone(format)) return PRINT_LOCAL;
    if (format >= FORMAT_COUNT) return PRINTED;
    Fields fields;
    if (fields.Get(*this, mode).Failed()) return PRINT_TIME;
    Printer_ printer(fields);
    ReturnT const code = printer.Print(FORMATS[format]);
    if (code.Succeeded()) printer.Copy(out);
    return code;
}

} // namespace Time
