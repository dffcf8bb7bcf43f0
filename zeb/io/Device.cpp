#include "zeb/io/Device.h"

#include "zeb/io/Descriptor.h"

namespace Io {

namespace {

constexpr unsigned int PERMISSIONS = 0644;

} // namespace

Device::Device(CString const& path, EndOfLineT eol, unsigned long bufferSize)
    : Stream(input_, output_, eol_, mode_)
    , PollableStream(*this, IDENT, fd_, mode_, input_, output_, eol_)
    , base_(fd_, mode_, verbose_, IDENT, *this, &path_)
    , pollableBase_(base_, *this, IDENT, PollableBase::BlockLimit(bufferSize))
    , eol_(eol)
    , input_(pollableBase_, *this)
    , output_(pollableBase_, *this)
    , memory_(bufferSize, mode_, *this, input_, output_) {
    if (path_.Assign(path)) return;
    Log(Log::CRITICAL, IDENT, path.Cstr(), "").Oom(ReturnT::Oom());
    SetState_(STATE_BROKEN);
}

Device::Device(CString const& path, int flags, EndOfLineT eol, unsigned long bufferSize)
    : Device(path, eol, bufferSize) {
    if (Ok() && !Open(flags)) Break_();
}

Device::~Device() {
    if (fd_ == -1) return;
    // What this object was attached to may be gone.
    Attach(this);
    pollableBase_.Finish(output_, path_.Cstr());
    // The object ends; a failure was logged.
    (void)Close_();
}

Device* Device::DeviceRoot_() const { return dynamic_cast<Device*>(PollableRoot_()); }

bool Device::Open(int flags) {
    Device* const root = DeviceRoot_();
    return root != nullptr ? root->Open_(flags) : Fail(STATE_FAILED);
}

bool Device::Close() {
    Device* const root = DeviceRoot_();
    return root != nullptr ? root->Close_() : Fail(STATE_FAILED);
}

CString const& Device::PathName() const {
    Device const* const root = DeviceRoot_();
    return root != nullptr ? root->path_ : CString::Nil();
}

void Device::SetMode_(int flags) {
    if (Device* const root = DeviceRoot_()) root->mode_ = ModeOfFlags(flags);
}

bool Device::Open_(int flags) {
    if (!Ok() || fd_ != -1) return false;
    int error = 0;
    fd_ = Descriptor::Open(path_.Cstr(), flags, PERMISSIONS, IDENT, Descriptor::BLOCKING, verbose_, &error);
    if (fd_ < 0) {
        SetSysError_(error);
        return false;
    }
    // The blocks follow the mode, which is that of a descriptor that was opened.
    mode_ = ModeOfFlags(flags);
    if (!memory_.Allocate()) {
        Log(Log::CRITICAL, IDENT, path_.Cstr(), "").Oom(ReturnT::Oom());
        // The state tells of the memory.
        (void)Descriptor::Close(fd_, IDENT, path_.Cstr(), verbose_, nullptr);
        return false;
    }
    base_.SetEos(false);
    return true;
}

bool Device::Close_() {
    // What the flush gives is in the state, which is the result; the rest is released all the same.
    (void)output_.Flush();
    memory_.Free();
    int error = 0;
    if (!Descriptor::Close(fd_, IDENT, path_.Cstr(), verbose_, &error)) SetSysError_(error);
    ClearReady_();
    base_.SetEos(false);
    return Ok();
}

bool Device::ObjIReady() const { return InBuffer().GCount() > 0; }

} // namespace Io
