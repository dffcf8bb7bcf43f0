// The stream that fails at everything. One object serves all; it is made when the library is loaded and never
// ends, so that it may be returned at any time.

#include "zeb/stream/SeekableStream.h"

#include <new>

namespace {

class BrokenStream final : public Io::SeekableStream {
public:
    BrokenStream()
        : Io::Stream(buffer_, buffer_, eol_, mode_)
        , Io::SeekableStream(*this, buffer_, buffer_, eol_, mode_, MAX_SIZE_UNLIMITED)
        , base_(*this)
        , buffer_(base_, *this) {
        SetState(STATE_BROKEN);
        base_.SetEos();
    }

    bool Seek(long) override { return false; }
    bool Tell(long& out) const override {
        out = 0;
        return false;
    }
    bool Truncate(long) override { return false; }
    bool GetStreamSize(long& out) const override {
        out = 0;
        return false;
    }
    bool Close() override { return false; }

private:
    class Base_ final : public Io::Base {
    public:
        using Io::Base::Base;
        bool SysRead(void*, unsigned long, unsigned long& done) override {
            done = 0;
            return false;
        }
        bool SysWrite(void const*, unsigned long, unsigned long& done) override {
            done = 0;
            return false;
        }
        bool SysFlush() override { return false; }
    };

    Base_ base_;
    Io::Buffer buffer_;
    Io::EndOfLineT eol_ = Io::EOL_ANY_LF;
    Io::ModeT mode_ = Io::MODE_READ_WRITE;
};

} // namespace

namespace Io {

SeekableStream& SeekableStream::Broken() {
    alignas(BrokenStream) static unsigned char place[sizeof(BrokenStream)];
    static BrokenStream* const broken = new (place) BrokenStream;
    return *broken;
}

namespace {

[[maybe_unused]] SeekableStream const& madeAtLoad = SeekableStream::Broken();

} // namespace

} // namespace Io
