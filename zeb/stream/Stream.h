#pragma once

// Input and output on one object. A class over a medium of its own derives from it, or from SeekableStream:
// it owns a transport, one Buffer or two, and the block (zeb/stream/StringStream.h shows it), and passes
// references to them. What is passed is only stored, so that members may be passed that are built later.

#include "zeb/stream/IStream.h"
#include "zeb/stream/OStream.h"

namespace Io {

class ZEB_PUBLIC Stream : public IStream, public OStream {
public:
    // Attached to `parent`, which may be this object itself. What is passed must outlive the stream.
    Stream(Stream& parent, IStreamBuffer& input, OStreamBuffer& output, EndOfLineT const& eol,
           ModeT const& mode);
    // A root.
    Stream(IStreamBuffer& input, OStreamBuffer& output, EndOfLineT const& eol, ModeT const& mode);
    ~Stream() override;

    // Of the root.
    EndOfLineT Eol() const { return StreamRoot_()->eol_; }
    ModeT Mode() const { return StreamRoot_()->mode_; }

    // Makes this object an alias of another stream.
    void Attach(Stream* parent);

protected:
    // For a class that inherits this one virtually: attached to `parent`, or a root when that is null.
    Stream(Stream* parent, IStreamBuffer& input, OStreamBuffer& output, EndOfLineT const& eol,
           ModeT const& mode);

private:
    Stream const* StreamRoot_() const {
        Stream const* root = this;
        while (root->parent_ != root)
            root = root->parent_;
        return root;
    }

    EndOfLineT const& eol_;
    ModeT const& mode_;
    Stream* parent_;
};

} // namespace Io
