#include "zeb/runtime/Mapper.h"

#include "zeb/runtime/TextMachineImpl.h"

#include <fcntl.h>

namespace Linux::AddressSpace {

namespace {

constexpr unsigned long BLOCK_SIZE = 128;
constexpr uint64_t MAJOR_MAX = 4095, MINOR_MAX = 0xFFFFF;
constexpr unsigned PERMISSIONS = 4;
constexpr char const PERMISSION[PERMISSIONS][4] = {"r--", "w--", "x--", "psS"};

// A line, one character at a time:
//
//   start "-" end " " permissions " " offset " " major ":" minor " " inode [blanks path] newline
class Machine_ {
public:
    Machine_(uint64_t address, char* file, unsigned long room)
        : address_(address)
        , path_(file, room) {}

    // False if the line does not go on like this.
    bool Put(char c) {
        switch (state_) {
        case START:
            return c == '-' ? Enter_(END, start_) : number_.Put(c, 16, UINT64_MAX);
        case END:
            return c == ' ' ? Enter_(PERMISSION_1, end_) : number_.Put(c, 16, UINT64_MAX);
        case PERMISSION_1:
        case PERMISSION_2:
        case PERMISSION_3:
        case PERMISSION_4:
            return Permission_(c);
        case PERMISSIONS_END:
            return c == ' ' && Enter_(OFFSET);
        case OFFSET:
            return c == ' ' ? Enter_(MAJOR, ignored_) : number_.Put(c, 16, UINT64_MAX);
        case MAJOR:
            return c == ':' ? Enter_(MINOR, ignored_) : number_.Put(c, 16, MAJOR_MAX);
        case MINOR:
            return c == ' ' ? Enter_(INODE, ignored_) : number_.Put(c, 16, MINOR_MAX);
        case INODE:
            if (c == '\n') return Enter_(DONE, ignored_);
            return c == ' ' ? Enter_(BLANKS, ignored_) : number_.Put(c, 10, UINT64_MAX);
        case BLANKS:
            if (c == ' ') return true;
            state_ = PATH;
            [[fallthrough]];
        case PATH:
            if (c == '\n') return Enter_(DONE);
            if (IsHit()) path_.Put(c);
            return true;
        case DONE:
            break;
        }
        return false;
    }

    bool IsDone() const { return state_ == DONE; }
    bool IsHit() const { return start_ <= address_ && address_ < end_; }
    uint64_t Start() const { return start_; }
    unsigned long PathSize() const { return path_.Size(); }

    // True where the text may end: ahead of a line, and behind all that it must have.
    bool MayEnd() {
        if (state_ == INODE) return Enter_(DONE, ignored_);
        return (state_ == START && number_.IsEmpty()) || state_ >= BLANKS;
    }

    void NextLine() { state_ = START; }

private:
    enum StateT {
        START,
        END,
        PERMISSION_1,
        PERMISSION_2,
        PERMISSION_3,
        PERMISSION_4,
        PERMISSIONS_END,
        OFFSET,
        MAJOR,
        MINOR,
        INODE,
        BLANKS,
        PATH,
        DONE,
    };

    bool Enter_(StateT next) {
        state_ = next;
        return true;
    }
    bool Enter_(StateT next, uint64_t& number) { return number_.Take(number) && Enter_(next); }

    bool Permission_(char c) {
        for (char const allowed : PERMISSION[state_ - PERMISSION_1])
            if (c == allowed && c != '\0') return Enter_(static_cast<StateT>(state_ + 1));
        return false;
    }

    uint64_t const address_;
    StateT state_ = START;
    NumberMachine number_;
    uint64_t start_ = 0;
    uint64_t end_ = 0;
    uint64_t ignored_ = 0;
    TextMachine path_;
};

int Fail_(int error) {
    errno = error;
    return -1;
}

} // namespace

Mapper::Mapper()
    : Mapper("/proc/self/maps") {}

Mapper::Mapper(char const* path)
    : descriptor_(open(path, O_RDONLY | O_CLOEXEC))
    , error_(descriptor_ == -1 ? errno : 0) {}

Mapper::~Mapper() {
    if (descriptor_ != -1) close(descriptor_);
}

int Mapper::Get(void const* address, unsigned long& base, char* file, unsigned long* size) {
    if (error_ != 0) return Fail_(error_);
    if (file == nullptr || size == nullptr || *size == 0) return Fail_(EINVAL);
    if (lseek(descriptor_, 0, SEEK_SET) == -1) return -1;
    Machine_ machine(reinterpret_cast<uintptr_t>(address), file, *size);
    char block[BLOCK_SIZE];
    ssize_t count;
    while ((count = ReadAnyway(descriptor_, block, sizeof block)) > 0) {
        for (ssize_t i = 0; i < count; ++i) {
            if (!machine.Put(block[i])) return Fail_(EILSEQ);
            if (!machine.IsDone()) continue;
            if (machine.IsHit()) break;
            machine.NextLine();
        }
        if (machine.IsDone()) break;
    }
    if (count < 0) return -1;
    if (count == 0 && !machine.MayEnd()) return Fail_(EILSEQ);
    base = machine.IsHit() ? machine.Start() : 0;
    *size = machine.PathSize() < *size ? machine.PathSize() : *size;
    return 0;
}

} // namespace Linux::AddressSpace
