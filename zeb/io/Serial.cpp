#include "zeb/io/Serial.h"

#include "zeb/core/ErrorString.h"
#include "zeb/io/Descriptor.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/serial.h>
#include <sys/ioctl.h>

namespace Io {

namespace {

constexpr unsigned long BUFFER_SIZE = 256;
constexpr unsigned short CLOSING_WAIT = 100; // hundredths of a second

int FlagsOf_(ModeT mode) {
    bool const both = (mode & MODE_READ_WRITE) == MODE_READ_WRITE;
    return both ? O_RDWR : (mode & MODE_WRITE) != 0 ? O_WRONLY : O_RDONLY;
}

bool IsEqual_(termios const& a, termios const& b) {
    return a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag && a.c_cflag == b.c_cflag &&
           a.c_lflag == b.c_lflag && memcmp(a.c_cc, b.c_cc, sizeof a.c_cc) == 0 &&
           cfgetispeed(&a) == cfgetispeed(&b) && cfgetospeed(&a) == cfgetospeed(&b);
}

} // namespace

Serial::Serial(CString const& path, ModeT mode, EndOfLineT eol, SpeedT speed)
    : Stream(input_, output_, eol_, mode_)
    , PollableStream(*this, IDENT, fd_, mode_, input_, output_, eol_)
    , mode_(mode)
    , base_(fd_, mode_, verbose_, IDENT, *this, &path_)
    , pollableBase_(base_, *this, IDENT, PollableBase::BlockLimit(BUFFER_SIZE))
    , eol_(eol)
    , input_(pollableBase_, *this)
    , output_(pollableBase_, *this)
    , memory_(BUFFER_SIZE, mode_, *this, input_, output_) {
    if (Open_(path, speed)) return;
    // The state tells of the failure.
    (void)Descriptor::Close(fd_, IDENT, path_.Cstr(), verbose_, nullptr);
    Break_();
}

Serial::~Serial() {
    if (fd_ == -1) return;
    // What this object was attached to may be gone.
    Attach(this);
    pollableBase_.Finish(output_, path_.Cstr());
    // The object ends; a failure was logged.
    (void)Close_();
}

bool Serial::Open_(CString const& path, SpeedT speed) {
    if (!path_.Assign(path)) {
        Log(Log::CRITICAL, IDENT, path.Cstr(), "").Oom(ReturnT::Oom());
        return Fail(STATE_NO_MEMORY);
    }
    int error = 0;
    fd_ = Descriptor::Open(path_.Cstr(), FlagsOf_(mode_) | O_NOCTTY, 0, IDENT, Descriptor::BLOCKING, verbose_,
                           &error);
    if (fd_ < 0) {
        SetSysError_(error);
        return false;
    }
    if (!SetUp_(speed) || !LimitClosing_()) return false;
    return memory_.Allocate() || ReportFail_("unable to reallocate I/O buffers", 0);
}

// The message takes the words of errno.
bool Serial::Report_(char const* message) {
    int const error = errno;
    SetSysError_(error);
    Log(Log::ERROR, IDENT, path_.Cstr(), message) << ::ErrorString(error);
    return false;
}

bool Serial::ReportFail_(char const* message, int error) {
    Log line(Log::CRITICAL, IDENT, path_.Cstr(), message);
    line.Fail(ReturnT::Fail());
    if (error == 0) return false;
    SetSysError_(error);
    line << ::ErrorString(error);
    return false;
}

bool Serial::SetUp_(SpeedT speed) {
    termios wanted, found;
    if (tcgetattr(fd_, &wanted) != 0) return Report_("unable to get terminal options: %1");
    cfmakeraw(&wanted);
    wanted.c_cc[VTIME] = 0;
    wanted.c_cc[VMIN] = 1;
    wanted.c_cflag &= ~static_cast<tcflag_t>(CRTSCTS | PARENB | CSTOPB | CSIZE);
    wanted.c_cflag |= CS8 | CREAD | CLOCAL;
    if (cfsetspeed(&wanted, speed) != 0 || tcsetattr(fd_, TCSANOW, &wanted) != 0)
        return Report_("unable to set terminal options: %1");
    if (tcgetattr(fd_, &found) != 0) return Report_("unable to verify terminal options: %1");
    if (IsEqual_(wanted, found)) return true;
    Log(Log::ERROR, IDENT, path_.Cstr(), "terminal options verification failed");
    return false;
}

// Closing waits for output that the line does not take, where the driver can be told so.
bool Serial::LimitClosing_() {
    serial_struct options = {};
    if (ioctl(fd_, TIOCGSERIAL, &options) != 0) {
        int const error = errno;
        return error == ENOTTY || ReportFail_("unable to get serial port options: %1", error);
    }
    options.closing_wait = CLOSING_WAIT;
    if (ioctl(fd_, TIOCSSERIAL, &options) == 0) return true;
    int const error = errno;
    return ReportFail_("unable to set serial port options: %1", error);
}

bool Serial::Close() {
    Serial* const root = dynamic_cast<Serial*>(PollableRoot_());
    return root != nullptr ? root->Close_() : Fail(STATE_FAILED);
}

bool Serial::Close_() {
    // What the flush gives is in the state, which is the result; the rest is released all the same.
    (void)output_.Flush();
    memory_.Free();
    int error = 0;
    if (!Descriptor::Close(fd_, IDENT, path_.Cstr(), verbose_, &error)) SetSysError_(error);
    ClearReady_();
    base_.SetEos(false);
    return Ok();
}

bool Serial::ObjIReady() const { return InBuffer().GCount() > 0; }

} // namespace Io
