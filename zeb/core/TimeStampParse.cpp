#include "zeb/core/TimeStampImpl.h"

#include <cctype>
#include <strings.h>

namespace Time {

using namespace StampImpl_;

namespace {

bool IsDigit_(char c) { return c >= '0' && c <= '9'; }
bool IsBlank_(char c) { return c == ' ' || c == '\t'; }

// What a failure is called at a conversion, and at a literal behind that character of the format.
ReturnT FailureAt_(char conversion) {
    switch (conversion) {
    case 'a':
    case 'A':
        return PARSE_WEEKDAY;
    case 'd':
    case 'e':
        return PARSE_DAY;
    case 'b':
    case 'B':
    case 'm':
    case 'w':
        return PARSE_MONTH;
    case 'y':
    case 'Y':
        return PARSE_YEAR;
    case 'H':
        return PARSE_HOUR;
    case 'M':
        return PARSE_MINUTE;
    case 'S':
    case 'K':
        return PARSE_SECOND;
    default:
        return PARSE_LITERAL;
    }
}

// Reads a text by a format into fields. A piece that does not match is not consumed.
class Scanner_ {
public:
    Scanner_(CString const& text, Fields& fields)
        : begin_(text.Cstr())
        , next_(begin_)
        , end_(begin_ + text.Size())
        , fields_(fields) {}

    unsigned Consumed() const { return static_cast<unsigned>(next_ - begin_); }

    ReturnT Scan(char const* format) {
        for (char before = '\0'; *format; before = *format++) {
            if (*format == '%') {
                ReturnT const code = Convert_(*++format);
                if (code.Failed()) return code;
            } else if (!Literal_(*format)) {
                return FailureAt_(before);
            }
        }
        return PARSED;
    }

private:
    ReturnT Convert_(char conversion) {
        bool ok;
        switch (conversion) {
        case '%':
            ok = Literal_('%');
            break;
        case 't':
            ok = Blanks_();
            break;
        case 'a':
            ok = ShortName_(DAYS, DAY_COUNT, fields_.weekday) && Once_(WEEKDAY_);
            break;
        case 'A':
            ok = FullName_(DAYS, DAY_COUNT, fields_.weekday) && Once_(WEEKDAY_);
            break;
        case 'b':
            ok = Month_(ShortName_(MONTHS, MONTH_COUNT, fields_.month));
            break;
        case 'B':
            ok = Month_(FullName_(MONTHS, MONTH_COUNT, fields_.month));
            break;
        case 'm':
            ok = Number_(2, 1, 12, fields_.month) && Once_(MONTH_);
            break;
        case 'w':
            ok = AnyMonth_();
            break;
        case 'e':
        case 'd':
            ok = Day_(conversion == 'e');
            break;
        case 'y':
            ok = ShortYear_();
            break;
        case 'Y':
            ok = Number_(4, 0, 9999, fields_.year) && Once_(YEAR_);
            break;
        case 'H':
            ok = Number_(2, 0, 23, fields_.hour) && Once_(HOUR_);
            break;
        case 'M':
            ok = Number_(2, 0, 59, fields_.minute) && Once_(MINUTE_);
            break;
        case 'S':
            ok = Number_(2, 0, 59, fields_.second) && Once_(SECOND_);
            break;
        case 'K':
            ok = Number_(3, 0, 999, fields_.millisecond) && Once_(MILLISECOND_);
            break;
        default:
            return PARSE_CONVERSION;
        }
        return ok ? PARSED : FailureAt_(conversion);
    }

    enum FieldT_ : unsigned {
        WEEKDAY_ = 1,
        DAY_ = 2,
        MONTH_ = 4,
        YEAR_ = 8,
        HOUR_ = 16,
        MINUTE_ = 32,
        SECOND_ = 64,
        MILLISECOND_ = 128,
    };

    // Each field may be given once.
    bool Once_(FieldT_ field) {
        bool const isFirst = (seen_ & field) == 0;
        seen_ |= field;
        return isFirst;
    }

    bool Literal_(char c) {
        if (next_ == end_ || *next_ != c) return false;
        ++next_;
        return true;
    }

    bool Blanks_() {
        if (next_ == end_ || !IsBlank_(*next_)) return false;
        while (next_ != end_ && IsBlank_(*next_))
            ++next_;
        return true;
    }

    // At most `width` digits behind leading zeros, which are free.
    bool Number_(unsigned width, unsigned min, unsigned max, unsigned& field) {
        char const* p = next_;
        while (end_ - p > 1 && p[0] == '0' && IsDigit_(p[1]))
            ++p;
        unsigned value = 0;
        char const* const digits = p;
        while (p != end_ && IsDigit_(*p) && p - digits < width)
            value = value * 10 + static_cast<unsigned>(*p++ - '0');
        if (p == digits || value < min || value > max) return false;
        field = value;
        next_ = p;
        return true;
    }

    unsigned long Letters_() const {
        char const* p = next_;
        while (p != end_ && isalpha(static_cast<unsigned char>(*p)))
            ++p;
        return static_cast<unsigned long>(p - next_);
    }

    bool ShortName_(Name const* names, unsigned count, unsigned& index) {
        if (Letters_() != Name::SHORT_SIZE) return false;
        for (unsigned i = 0; i != count; ++i)
            if (strncasecmp(next_, names[i].brief, Name::SHORT_SIZE) == 0)
                return Take_(Name::SHORT_SIZE, i, index);
        return false;
    }

    bool FullName_(Name const* names, unsigned count, unsigned& index) {
        unsigned long const size = Letters_();
        for (unsigned i = 0; i != count; ++i)
            if (names[i].size == size && strncasecmp(next_, names[i].full, size) == 0)
                return Take_(size, i, index);
        return false;
    }

    bool Take_(unsigned long size, unsigned value, unsigned& field) {
        next_ += size;
        field = value;
        return true;
    }

    // Behind a name, whose index has been stored.
    bool Month_(bool ok) {
        if (ok) ++fields_.month;
        return ok && Once_(MONTH_);
    }

    bool AnyMonth_() {
        if (next_ != end_ && IsDigit_(*next_)) return Number_(2, 1, 12, fields_.month) && Once_(MONTH_);
        return Month_(ShortName_(MONTHS, MONTH_COUNT, fields_.month));
    }

    bool Day_(bool blankFilled) {
        char const* const start = next_;
        if (blankFilled) (void)Literal_(' '); // it may be missing
        if (Number_(2, 0, 99, fields_.day)) return Once_(DAY_);
        next_ = start;
        return false;
    }

    bool ShortYear_() {
        if (!Number_(2, 0, 99, fields_.year)) return false;
        fields_.year += fields_.year < CENTURY_FIRST % 100 ? 2000 : 1900;
        return Once_(YEAR_);
    }

    char const* const begin_;
    char const* next_;
    char const* const end_;
    Fields& fields_;
    unsigned seen_ = 0;
};

} // namespace

ReturnT Stamp::Parse(FormatT format, ModeT mode, CString const& text, unsigned int* consumed) {
    if (mode == LOCAL && NamesZone(format)) return PARSE_LOCAL;
    if (consumed) *consumed = 0;
    if (format >= FORMAT_COUNT) return PARSED_NOTHING;
    Fields fields;
    if (fields.Get(*this, mode).Failed()) return GET_FAILED;
    Scanner_ scanner(text, fields);
    ReturnT const code = scanner.Scan(FORMATS[format]);
    if (consumed) *consumed = scanner.Consumed();
    if (code.Failed()) return code;
    ReturnT const set = Set(fields.day, fields.month, fields.year, fields.hour, fields.minute, fields.second,
                            fields.millisecond, mode);
    return set.Failed() ? PARSE_DATE : PARSED;
}

} // namespace Time
