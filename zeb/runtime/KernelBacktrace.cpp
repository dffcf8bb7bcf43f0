#include "zeb/runtime/KernelBacktrace.h"

#include "zeb/core/Digits.h"
#include "zeb/runtime/TextMachineImpl.h"

#include <cstring>

#include <fcntl.h>

namespace Linux {

namespace {

constexpr char const PATH_HEAD[] = "/proc/", PATH_TAIL[] = "/stack";

// A line, one character at a time:
//
//   "[<" address ">] " name "+0x" offset "/0x" size [" [" module "]"] newline
//   "[<" address ">] 0x" number newline
class Machine_ {
public:
    Machine_(TextMachine& name, TextMachine& module)
        : name_(name)
        , module_(module) {}

    // False if the line does not go on like this.
    bool Put(char c) {
        switch (state_) {
        case BRACKET:
            return Sees_(c, '[', ANGLE);
        case ANGLE:
            return Sees_(c, '<', ADDRESS);
        case ADDRESS:
            if (c == 'x' && address_.IsZero()) {
                address_ = NumberMachine();
                return Enter_(PREFIXED_ADDRESS);
            }
            [[fallthrough]];
        case PREFIXED_ADDRESS:
            return c == '>' ? address_.Take(ip_) && Enter_(ANGLE_END) : address_.Put(c, 16, UINT64_MAX);
        case ANGLE_END:
            return Sees_(c, ']', BRACKET_END);
        case BRACKET_END:
            return Sees_(c, ' ', NAME);
        case NAME:
            return Name_(c);
        case OFFSET_0:
            return Sees_(c, '0', OFFSET_X);
        case OFFSET_X:
            return Sees_(c, 'x', OFFSET);
        case OFFSET:
            return c == '/' ? number_.Take(offset_) && Enter_(SIZE_0) : number_.Put(c, 16, UINT64_MAX);
        case SIZE_0:
            return Sees_(c, '0', SIZE_X);
        case SIZE_X:
            return Sees_(c, 'x', SIZE);
        case SIZE:
            if (c == '\n') return number_.Take(ignored_) && Enter_(DONE);
            return c == ' ' ? number_.Take(ignored_) && Enter_(MODULE_BRACKET)
                            : number_.Put(c, 16, UINT64_MAX);
        case MODULE_BRACKET:
            return Sees_(c, '[', MODULE);
        case MODULE:
            if (c == ']') return module_.Size() > 1 && Enter_(LINE_END);
            if (c == '\n') return false;
            module_.Put(c);
            return true;
        case LINE_END:
            return Sees_(c, '\n', DONE);
        case DONE:
            break;
        }
        return false;
    }

    bool IsDone() const { return state_ == DONE; }
    uint64_t Ip() const { return ip_; }
    uint64_t Offset() const { return offset_; }

private:
    enum StateT {
        BRACKET,
        ANGLE,
        ADDRESS,
        PREFIXED_ADDRESS,
        ANGLE_END,
        BRACKET_END,
        NAME,
        OFFSET_0,
        OFFSET_X,
        OFFSET,
        SIZE_0,
        SIZE_X,
        SIZE,
        MODULE_BRACKET,
        MODULE,
        LINE_END,
        DONE,
    };

    bool Enter_(StateT next) {
        state_ = next;
        return true;
    }
    bool Sees_(char c, char expected, StateT next) { return c == expected && Enter_(next); }

    // A name, or all of a number behind "0x".
    bool Name_(char c) {
        unsigned long const at = name_.Size() - 1;
        if (c == '+') {
            number_ = NumberMachine();
            return at != 0 && Enter_(OFFSET_0);
        }
        if (c == '\n') return isNumber_ && at > 2 && Enter_(DONE);
        if (at < 2)
            isNumber_ = (at == 0 || isNumber_) && c == "0x"[at];
        else
            isNumber_ = isNumber_ && number_.Put(c, 16, UINT64_MAX);
        name_.Put(c);
        return true;
    }

    StateT state_ = BRACKET;
    NumberMachine address_;
    NumberMachine number_;
    bool isNumber_ = false;
    uint64_t ip_ = 0;
    uint64_t offset_ = 0;
    uint64_t ignored_ = 0;
    TextMachine& name_;
    TextMachine& module_;
};

} // namespace

KernelBacktrace::KernelBacktrace(unsigned long long tid, char* buffer, unsigned long size)
    : buffer_(buffer)
    , size_(size) {
    char digits[Digits::MAX_SIZE];
    unsigned long const count = static_cast<unsigned long>(Digits::PrintDecimal(digits, tid) - digits);
    if (buffer == nullptr || size < sizeof PATH_HEAD - 1 + count + sizeof PATH_TAIL) {
        error_ = EINVAL;
        return;
    }
    memcpy(buffer, PATH_HEAD, sizeof PATH_HEAD - 1);
    memcpy(buffer + sizeof PATH_HEAD - 1, digits, count);
    memcpy(buffer + sizeof PATH_HEAD - 1 + count, PATH_TAIL, sizeof PATH_TAIL);
    Open_(buffer);
}

KernelBacktrace::KernelBacktrace(char const* path, char* buffer, unsigned long size)
    : buffer_(buffer)
    , size_(size) {
    if (buffer == nullptr || size == 0)
        error_ = EINVAL;
    else
        Open_(path);
}

KernelBacktrace::~KernelBacktrace() {
    if (descriptor_ != -1) close(descriptor_);
}

void KernelBacktrace::Open_(char const* path) {
    descriptor_ = open(path, O_RDONLY | O_CLOEXEC);
    if (descriptor_ == -1) error_ = errno;
}

// The byte at that place of the file, with the results of Step(). The buffer is filled onwards, and what is
// ahead of the current line is dropped when it is full: the kernel makes its text anew for a reader who goes
// back.
int KernelBacktrace::GetByte_(unsigned long at, char& c) {
    if (at < total_) {
        if (lseek(descriptor_, static_cast<off_t>(at), SEEK_SET) == -1) return -errno;
        total_ = at;
        filled_ = 0;
    }
    while (at >= total_ + filled_) {
        if (filled_ == size_) {
            unsigned long const dropped =
                line_ > total_ && line_ < total_ + filled_ ? line_ - total_ : filled_;
            memmove(buffer_, buffer_ + dropped, filled_ - dropped);
            total_ += dropped;
            filled_ -= dropped;
        }
        ssize_t const count = ReadAnyway(descriptor_, buffer_ + filled_, size_ - filled_);
        if (count <= 0) return count == 0 ? 0 : -errno;
        filled_ += static_cast<unsigned long>(count);
    }
    c = buffer_[at - total_];
    return 1;
}

int KernelBacktrace::Step() {
    if (error_ != 0) return -error_;
    if (isEnd_) return 0;
    char c = isStarted_ ? '\0' : '\n';
    unsigned long at = line_;
    int result = 1;
    while (result > 0 && c != '\n')
        result = GetByte_(at++, c);
    if (result > 0) result = GetByte_(at, c);
    if (result > 0) { // else a further call tries again
        line_ = at;
        isStarted_ = true;
    }
    isEnd_ = result == 0;
    return result;
}

int KernelBacktrace::GetFrame(unsigned long& ip, char* name, unsigned long nameSize,
                              unsigned long& nameLength, unsigned long& offset, char* module,
                              unsigned long moduleSize, unsigned long& moduleLength) {
    if (error_ != 0) return -error_;
    if (!isStarted_ || isEnd_) return 0;
    TextMachine nameText(name, nameSize), moduleText(module, moduleSize);
    Machine_ machine(nameText, moduleText);
    for (unsigned long at = line_; !machine.IsDone(); ++at) {
        char c = '\n'; // the last line may have no end
        int const result = GetByte_(at, c);
        if (result < 0) return result;
        if (!machine.Put(c)) return -EILSEQ;
    }
    ip = machine.Ip();
    offset = machine.Offset();
    nameLength = nameText.Size();
    moduleLength = moduleText.Size();
    return 1;
}

} // namespace Linux
